#include "Engines/image/PngPredictor.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>

namespace TWQuickTime::image {
namespace {

constexpr std::size_t kBytesAtOnce = 16;
constexpr int kFilterCount = 5;

__m128i load(const std::uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

__m128i choose(__m128i mask, __m128i where, __m128i elsewhere) {
    return _mm_or_si128(_mm_and_si128(mask, where), _mm_andnot_si128(mask, elsewhere));
}

__m128i isAtMost(__m128i a, __m128i b) {
    return _mm_cmpeq_epi8(_mm_min_epu8(a, b), a);
}

__m128i distance(__m128i a, __m128i b) {
    return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
}

/// Half the sum, rounded down.
__m128i average(__m128i left, __m128i above) {
    const __m128i odd = _mm_and_si128(_mm_xor_si128(left, above), _mm_set1_epi8(1));
    return _mm_sub_epi8(_mm_avg_epu8(left, above), odd);
}

/// Whichever is nearest to left + above − aboveLeft; in doubt the first of the three.
__m128i paeth(__m128i left, __m128i above, __m128i aboveLeft) {
    const __m128i toLeft = distance(above, aboveLeft), toAbove = distance(left, aboveLeft);
    // Where both steps go the same way they add up, and the third is farther than either; a sum
    // that is cut off at 255 does not change that.
    const __m128i sameWay = _mm_cmpeq_epi8(isAtMost(aboveLeft, above), isAtMost(aboveLeft, left));
    const __m128i toAboveLeft =
        choose(sameWay, _mm_adds_epu8(toLeft, toAbove), distance(toLeft, toAbove));
    const __m128i leftIsNearest =
        _mm_and_si128(isAtMost(toLeft, toAbove), isAtMost(toLeft, toAboveLeft));
    return choose(leftIsNearest, left, choose(isAtMost(toAbove, toAboveLeft), above, aboveLeft));
}

/// A row and what its filters look at, readable to a whole number of steps.
struct Row {
    const std::uint8_t* bytes;
    const std::uint8_t* left;
    const std::uint8_t* above;
    const std::uint8_t* aboveLeft;
};

/// What is left of some bytes after a filter.
template <int filter>
__m128i difference(const Row& row, std::size_t at) {
    const __m128i bytes = load(row.bytes + at);
    if constexpr (filter == 0)
        return bytes;
    else if constexpr (filter == 1)
        return _mm_sub_epi8(bytes, load(row.left + at));
    else if constexpr (filter == 2)
        return _mm_sub_epi8(bytes, load(row.above + at));
    else if constexpr (filter == 3)
        return _mm_sub_epi8(bytes, average(load(row.left + at), load(row.above + at)));
    else
        return _mm_sub_epi8(
            bytes, paeth(load(row.left + at), load(row.above + at), load(row.aboveLeft + at)));
}

template <int filter>
void writeDifferences(const Row& row, std::size_t rowBytes, std::uint8_t* out) {
    for (std::size_t at = 0; at < rowBytes; at += kBytesAtOnce)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at), difference<filter>(row, at));
}

using WriteDifferences = void (*)(const Row& row, std::size_t rowBytes, std::uint8_t* out);
constexpr std::array<WriteDifferences, kFilterCount> kWriteDifferences = {
    writeDifferences<0>, writeDifferences<1>, writeDifferences<2>, writeDifferences<3>,
    writeDifferences<4>};

/// All ones for the bytes before the end of the row, else zero.
__m128i insideRow(std::size_t at, std::size_t rowBytes) {
    alignas(kBytesAtOnce) std::uint8_t mask[kBytesAtOnce];
    for (std::size_t i = 0; i < kBytesAtOnce; ++i)
        mask[i] = at + i < rowBytes ? 255 : 0;
    return load(mask);
}

/// The filter after which the sizes of the differences come to the least; 255 stands for −1.
std::uint8_t bestFilter(const Row& row, std::size_t rowBytes) {
    __m128i sums[kFilterCount] = {};
    for (std::size_t at = 0; at < rowBytes; at += kBytesAtOnce) {
        const bool isLast = at + kBytesAtOnce > rowBytes;
        const __m128i rest[kFilterCount] = {difference<0>(row, at), difference<1>(row, at),
                                            difference<2>(row, at), difference<3>(row, at),
                                            difference<4>(row, at)};
        for (std::size_t filter = 0; filter < kFilterCount; ++filter) {
            const __m128i counted =
                isLast ? _mm_and_si128(rest[filter], insideRow(at, rowBytes)) : rest[filter];
            const __m128i size = _mm_min_epu8(counted, _mm_sub_epi8(_mm_setzero_si128(), counted));
            sums[filter] = _mm_add_epi64(sums[filter], _mm_sad_epu8(size, _mm_setzero_si128()));
        }
    }
    std::array<std::uint64_t, kFilterCount> totals;
    for (std::size_t filter = 0; filter < kFilterCount; ++filter) {
        std::uint64_t halves[2];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(halves), sums[filter]);
        totals[filter] = halves[0] + halves[1];
    }
    return static_cast<std::uint8_t>(std::ranges::min_element(totals) - totals.begin());
}

/// @return bytes that whole steps of a row of so many bytes reach
std::size_t wholeSteps(std::size_t byteCount) {
    return (byteCount + kBytesAtOnce - 1) / kBytesAtOnce * kBytesAtOnce;
}

}  // namespace

PngPredictor::PngPredictor(std::size_t rowBytes, std::size_t bytesPerPixel)
    : rowBytes_(rowBytes),
      bytesPerPixel_(bytesPerPixel),
      row_(bytesPerPixel + wholeSteps(rowBytes)),
      above_(bytesPerPixel + wholeSteps(rowBytes)),
      filtered_(1 + wholeSteps(rowBytes)) {}

std::span<const std::uint8_t> PngPredictor::filtered(const std::uint8_t* row) {
    std::swap(row_, above_);
    std::copy_n(row, rowBytes_, row_.data() + bytesPerPixel_);
    const Row facts{row_.data() + bytesPerPixel_, row_.data(), above_.data() + bytesPerPixel_,
                    above_.data()};
    filtered_[0] = bestFilter(facts, rowBytes_);
    kWriteDifferences[filtered_[0]](facts, rowBytes_, filtered_.data() + 1);
    return {filtered_.data(), 1 + rowBytes_};
}

}  // namespace TWQuickTime::image
