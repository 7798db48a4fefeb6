#include "Engines/image/ScaleKernels.h"

#include <immintrin.h>

#include <algorithm>
#include <cstring>

// What the functions below this mark may use, whatever the rest is compiled for.
#define TWQT_AVX2 __attribute__((target("avx2")))

namespace TWQuickTime::image {
namespace {

// Column weights sum to 1 << 14.
constexpr int kWeightBits = 14;
constexpr int kPixelShift = kSumFractionBits + kWeightBits;
// As many rows are added in one pass over the sums.
constexpr std::size_t kRowsAtOnce = 4;

/// ((value << 8) × (weight << 1)) >> 16 is value × weight with 7 fraction bits.
std::uint16_t weighted(std::uint8_t value, int weight) {
    return static_cast<std::uint16_t>((unsigned{value} << 8) * static_cast<unsigned>(weight << 1) >>
                                      16);
}

void sumRest(std::span<const WeightedRow> rows, int start, std::uint16_t* sums, std::size_t from,
             std::size_t count) {
    for (std::size_t i = from; i < count; ++i) {
        unsigned sum = start == kKeepSums ? sums[i] : static_cast<unsigned>(start);
        for (const WeightedRow& row : rows)
            sum += weighted(row.pixels[i], row.weight);
        sums[i] = static_cast<std::uint16_t>(sum);
    }
}

template <std::size_t rowCount>
std::size_t sumWithSse(std::span<const WeightedRow> rows, int start, std::uint16_t* sums,
                       std::size_t count) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i initial = _mm_set1_epi16(static_cast<std::int16_t>(start));
    __m128i factors[rowCount];
    for (std::size_t r = 0; r < rowCount; ++r)
        factors[r] = _mm_set1_epi16(static_cast<std::int16_t>(rows[r].weight << 1));
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        auto* place = reinterpret_cast<__m128i*>(sums + i);
        __m128i low = start == kKeepSums ? _mm_loadu_si128(place) : initial;
        __m128i high = start == kKeepSums ? _mm_loadu_si128(place + 1) : initial;
        for (std::size_t r = 0; r < rowCount; ++r) {
            const __m128i pixels =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[r].pixels + i));
            low = _mm_add_epi16(low, _mm_mulhi_epu16(_mm_unpacklo_epi8(zero, pixels), factors[r]));
            high =
                _mm_add_epi16(high, _mm_mulhi_epu16(_mm_unpackhi_epi8(zero, pixels), factors[r]));
        }
        _mm_storeu_si128(place, low);
        _mm_storeu_si128(place + 1, high);
    }
    return i;
}

template <std::size_t rowCount>
TWQT_AVX2 std::size_t sumWithAvx(std::span<const WeightedRow> rows, int start, std::uint16_t* sums,
                                 std::size_t count) {
    const __m256i initial = _mm256_set1_epi16(static_cast<std::int16_t>(start));
    __m256i factors[rowCount];
    for (std::size_t r = 0; r < rowCount; ++r)
        factors[r] = _mm256_set1_epi16(static_cast<std::int16_t>(rows[r].weight << 1));
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        auto* place = reinterpret_cast<__m256i*>(sums + i);
        __m256i sum = start == kKeepSums ? _mm256_loadu_si256(place) : initial;
        for (std::size_t r = 0; r < rowCount; ++r) {
            const __m256i pixels = _mm256_cvtepu8_epi16(
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[r].pixels + i)));
            sum =
                _mm256_add_epi16(sum, _mm256_mulhi_epu16(_mm256_slli_epi16(pixels, 8), factors[r]));
        }
        _mm256_storeu_si256(place, sum);
    }
    return i;
}

/// @return how many sums are done
std::size_t sumSomeRows(std::span<const WeightedRow> rows, int start, std::uint16_t* sums,
                        std::size_t count, bool wide) {
    switch (rows.size()) {
        case 1:
            return wide ? sumWithAvx<1>(rows, start, sums, count)
                        : sumWithSse<1>(rows, start, sums, count);
        case 2:
            return wide ? sumWithAvx<2>(rows, start, sums, count)
                        : sumWithSse<2>(rows, start, sums, count);
        case 3:
            return wide ? sumWithAvx<3>(rows, start, sums, count)
                        : sumWithSse<3>(rows, start, sums, count);
        default:
            return wide ? sumWithAvx<4>(rows, start, sums, count)
                        : sumWithSse<4>(rows, start, sums, count);
    }
}

/// Two weights as the multiply-add of pairs takes them.
std::int32_t pairOfWeights(const std::int16_t* weights) {
    std::int32_t pair;
    std::memcpy(&pair, weights, sizeof pair);
    return pair;
}

/// The four channels of one pixel, not yet rounded off.
__m128i combineOne(const ColumnPairs& columns, const std::uint16_t* sums, std::size_t x) {
    const std::uint16_t* from = sums + std::size_t(columns.first[x]) * 4;
    const std::int16_t* weights = &columns.weights[x * std::size_t(columns.pairs) * 2];
    __m128i total = _mm_setzero_si128();
    for (int pair = 0; pair < columns.pairs; ++pair, from += 8, weights += 2) {
        const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i interleaved = _mm_unpacklo_epi16(both, _mm_srli_si128(both, 8));
        total = _mm_add_epi32(total,
                              _mm_madd_epi16(interleaved, _mm_set1_epi32(pairOfWeights(weights))));
    }
    return total;
}

/// The same of two neighbouring pixels.
TWQT_AVX2 inline __m256i combineTwo(const ColumnPairs& columns, const std::uint16_t* sums,
                                    std::size_t x) {
    const __m256i order = _mm256_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15, 0,
                                           1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    const std::size_t step = std::size_t(columns.pairs) * 2;
    const std::uint16_t* left = sums + std::size_t(columns.first[x]) * 4;
    const std::uint16_t* right = sums + std::size_t(columns.first[x + 1]) * 4;
    const std::int16_t* weights = &columns.weights[x * step];
    __m256i total = _mm256_setzero_si256();
    for (int pair = 0; pair < columns.pairs; ++pair, left += 8, right += 8, weights += 2) {
        const __m256i both = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(right),
                                                 reinterpret_cast<const __m128i*>(left));
        const __m256i factors = _mm256_set_m128i(_mm_set1_epi32(pairOfWeights(weights + step)),
                                                 _mm_set1_epi32(pairOfWeights(weights)));
        total =
            _mm256_add_epi32(total, _mm256_madd_epi16(_mm256_shuffle_epi8(both, order), factors));
    }
    return total;
}

__m128i rounded(__m128i total, int shift) {
    return _mm_srai_epi32(_mm_add_epi32(total, _mm_set1_epi32(1 << (shift - 1))), shift);
}

TWQT_AVX2 inline __m256i rounded(__m256i total, int shift) {
    return _mm256_srai_epi32(_mm256_add_epi32(total, _mm256_set1_epi32(1 << (shift - 1))), shift);
}

void storePixel(std::uint8_t* pixel, __m128i channels) {
    channels = _mm_packs_epi32(channels, channels);
    const std::int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(channels, channels));
    std::memcpy(pixel, &bytes, sizeof bytes);
}

TWQT_AVX2 std::size_t combineWithAvx(const ColumnPairs& columns, const std::uint16_t* sums,
                                     std::uint8_t* pixels) {
    const std::size_t width = columns.first.size();
    std::size_t x = 0;
    for (; x + 4 <= width; x += 4) {
        const __m256i first = rounded(combineTwo(columns, sums, x), kPixelShift);
        const __m256i second = rounded(combineTwo(columns, sums, x + 2), kPixelShift);
        // Lanes hold pixels 0 2 and 1 3 after packing.
        const __m256i words = _mm256_packs_epi32(first, second);
        const __m256i bytes = _mm256_packus_epi16(words, words);
        const __m128i mixed =
            _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels + x * 4), mixed);
    }
    return x;
}

/// Pixels between two neighbours each: what the weights of a single pair come to, as these sum
/// to 1.
TWQT_AVX2 std::size_t interpolateWithAvx(const ColumnPairs& columns, const std::uint16_t* sums,
                                         std::uint16_t* combined) {
    // The right neighbour's weight for each channel of pixels 0 2 and 1 3.
    const __m256i order = _mm256_setr_epi8(2, 3, 2, 3, 2, 3, 2, 3, 10, 11, 10, 11, 10, 11, 10, 11,
                                           6, 7, 6, 7, 6, 7, 6, 7, 14, 15, 14, 15, 14, 15, 14, 15);
    const std::size_t width = columns.first.size();
    std::size_t x = 0;
    for (; x + 4 <= width; x += 4) {
        const auto neighbours = [&](std::size_t i) {
            return reinterpret_cast<const __m128i*>(sums + std::size_t(columns.first[x + i]) * 4);
        };
        const __m256i front = _mm256_loadu2_m128i(neighbours(1), neighbours(0));
        const __m256i back = _mm256_loadu2_m128i(neighbours(3), neighbours(2));
        const __m256i left = _mm256_unpacklo_epi64(front, back);
        const __m256i right = _mm256_unpackhi_epi64(front, back);
        const __m256i weights = _mm256_broadcastsi128_si256(
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(&columns.weights[x * 2])));
        const __m256i factors = _mm256_slli_epi16(_mm256_shuffle_epi8(weights, order), 1);
        const __m256i between =
            _mm256_add_epi16(left, _mm256_mulhrs_epi16(_mm256_sub_epi16(right, left), factors));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(combined + x * 4),
                            _mm256_permute4x64_epi64(between, 0b11'01'10'00));
    }
    return x;
}

TWQT_AVX2 std::size_t combineWithAvx(const ColumnPairs& columns, const std::uint16_t* sums,
                                     std::uint16_t* combined) {
    if (columns.pairs == 1)
        return interpolateWithAvx(columns, sums, combined);
    const std::size_t width = columns.first.size();
    std::size_t x = 0;
    for (; x + 2 <= width; x += 2) {
        const __m256i total = rounded(combineTwo(columns, sums, x), kWeightBits);
        const __m256i words = _mm256_permute4x64_epi64(_mm256_packs_epi32(total, total), 0b1000);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(combined + x * 4),
                         _mm256_castsi256_si128(words));
    }
    return x;
}

/// round(a × b / 2^15), which only wider registers have an instruction for.
__m128i multiplyRounded(__m128i a, __m128i b) {
    const __m128i high = _mm_mulhi_epi16(a, b), low = _mm_mullo_epi16(a, b);
    const __m128i half = _mm_and_si128(_mm_srli_epi16(low, 14), _mm_set1_epi16(1));
    return _mm_add_epi16(_mm_add_epi16(high, high), _mm_add_epi16(_mm_srli_epi16(low, 15), half));
}

std::size_t blendWithSse(const std::uint16_t* upper, const std::uint16_t* lower, int lowerWeight,
                         std::uint8_t* pixels, std::size_t count) {
    const __m128i factor = _mm_set1_epi16(static_cast<std::int16_t>(lowerWeight << 1));
    const __m128i half = _mm_set1_epi16(1 << (kSumFractionBits - 1));
    const auto blendEight = [&](std::size_t i) {
        const __m128i above = _mm_loadu_si128(reinterpret_cast<const __m128i*>(upper + i));
        const __m128i below = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lower + i));
        const __m128i share = multiplyRounded(_mm_sub_epi16(below, above), factor);
        const __m128i sum = _mm_add_epi16(above, share);
        return _mm_srai_epi16(_mm_add_epi16(sum, half), kSumFractionBits);
    };
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels + i),
                         _mm_packus_epi16(blendEight(i), blendEight(i + 8)));
    return i;
}

TWQT_AVX2 inline __m256i blendSixteen(const std::uint16_t* upper, const std::uint16_t* lower,
                                      __m256i factor) {
    const __m256i above = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(upper));
    const __m256i below = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lower));
    const __m256i share = _mm256_mulhrs_epi16(_mm256_sub_epi16(below, above), factor);
    // Half a unit and the shift by seven bits in one.
    return _mm256_mulhrs_epi16(_mm256_add_epi16(above, share),
                               _mm256_set1_epi16(1 << (15 - kSumFractionBits)));
}

TWQT_AVX2 std::size_t blendWithAvx(const std::uint16_t* upper, const std::uint16_t* lower,
                                   int lowerWeight, std::uint8_t* pixels, std::size_t count) {
    const __m256i factor = _mm256_set1_epi16(static_cast<std::int16_t>(lowerWeight << 1));
    std::size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m256i bytes =
            _mm256_packus_epi16(blendSixteen(upper + i, lower + i, factor),
                                blendSixteen(upper + i + 16, lower + i + 16, factor));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels + i),
                            _mm256_permute4x64_epi64(bytes, 0b11'01'10'00));
    }
    return i;
}

}  // namespace

bool hasWideRegisters() {
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}

ColumnPairs::ColumnPairs(const AxisWeights& columns) {
    for (const AxisWeights::Span& span : columns.spans)
        pairs = std::max(pairs, (span.count + 1) / 2);
    weights.resize(columns.spans.size() * static_cast<std::size_t>(pairs) * 2);
    auto place = weights.begin();
    for (const AxisWeights::Span& span : columns.spans) {
        first.push_back(span.first);
        std::copy_n(columns.weights.begin() + span.weightIndex, span.count, place);
        place += std::ptrdiff_t{pairs} * 2;
    }
}

void sumRows(std::span<const WeightedRow> rows, int start, std::uint16_t* sums, std::size_t count,
             bool wide) {
    while (!rows.empty()) {
        const auto some = rows.first(std::min(rows.size(), kRowsAtOnce));
        sumRest(some, start, sums, sumSomeRows(some, start, sums, count, wide), count);
        rows = rows.subspan(some.size());
        start = kKeepSums;
    }
}

void combineColumns(const ColumnPairs& columns, const std::uint16_t* sums, std::uint8_t* pixels,
                    bool wide) {
    std::size_t x = wide ? combineWithAvx(columns, sums, pixels) : 0;
    for (; x < columns.first.size(); ++x)
        storePixel(pixels + x * 4, rounded(combineOne(columns, sums, x), kPixelShift));
}

void combineColumns(const ColumnPairs& columns, const std::uint16_t* sums, std::uint16_t* combined,
                    bool wide) {
    std::size_t x = wide ? combineWithAvx(columns, sums, combined) : 0;
    for (; x < columns.first.size(); ++x) {
        const __m128i total = rounded(combineOne(columns, sums, x), kWeightBits);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(combined + x * 4),
                         _mm_packs_epi32(total, total));
    }
}

void blendRows(const std::uint16_t* upper, const std::uint16_t* lower, int lowerWeight,
               std::uint8_t* pixels, std::size_t count, bool wide) {
    std::size_t i = wide ? blendWithAvx(upper, lower, lowerWeight, pixels, count)
                         : blendWithSse(upper, lower, lowerWeight, pixels, count);
    for (; i < count; ++i) {
        const int share =
            ((lower[i] - upper[i]) * lowerWeight + (1 << (kWeightBits - 1))) >> kWeightBits;
        pixels[i] = static_cast<std::uint8_t>((upper[i] + share + (1 << (kSumFractionBits - 1))) >>
                                              kSumFractionBits);
    }
}

}  // namespace TWQuickTime::image
