#include "Engines/image/PngFilter.h"

#include <emmintrin.h>

#include <cstdlib>
#include <cstring>

namespace TWQuickTime::image {
namespace {

std::uint8_t paeth(int left, int up, int upLeft) {
    const int estimate = left + up - upLeft;
    const int toLeft = std::abs(estimate - left);
    const int toUp = std::abs(estimate - up);
    const int toUpLeft = std::abs(estimate - upLeft);
    return static_cast<std::uint8_t>(toLeft <= toUp && toLeft <= toUpLeft ? left
                                     : toUp <= toUpLeft                   ? up
                                                                          : upLeft);
}

void undoUp(std::uint8_t* row, const std::uint8_t* previous, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i)
        row[i] = static_cast<std::uint8_t>(row[i] + previous[i]);
}

void undoByBytes(int type, std::uint8_t* row, const std::uint8_t* previous, std::size_t bytes,
                 std::size_t bpp) {
    for (std::size_t i = 0; i < bytes; ++i) {
        const int left = i >= bpp ? row[i - bpp] : 0;
        const int up = previous[i];
        const int upLeft = i >= bpp ? previous[i - bpp] : 0;
        const int prediction = type == 1   ? left
                               : type == 3 ? (left + up) / 2
                                           : paeth(left, up, upLeft);
        row[i] = static_cast<std::uint8_t>(row[i] + prediction);
    }
}

// Pixels of three and four bytes, one pixel at a time in a vector register: what a pixel depends on
// is its left neighbour, so no wider step is possible.
template <int bpp>
__m128i load(const std::uint8_t* p) {
    std::int32_t value = 0;
    std::memcpy(&value, p, bpp);
    return _mm_cvtsi32_si128(value);
}

template <int bpp>
void store(std::uint8_t* p, __m128i pixel) {
    const std::int32_t value = _mm_cvtsi128_si32(pixel);
    std::memcpy(p, &value, bpp);
}

template <int bpp>
void undoSub(std::uint8_t* row, std::size_t bytes) {
    __m128i left = _mm_setzero_si128();
    for (std::size_t i = 0; i + bpp <= bytes; i += bpp) {
        left = _mm_add_epi8(left, load<bpp>(row + i));
        store<bpp>(row + i, left);
    }
}

template <int bpp>
void undoAverage(std::uint8_t* row, const std::uint8_t* previous, std::size_t bytes) {
    __m128i left = _mm_setzero_si128();
    const __m128i one = _mm_set1_epi8(1);
    for (std::size_t i = 0; i + bpp <= bytes; i += bpp) {
        const __m128i up = load<bpp>(previous + i);
        // The instruction rounds up; the filter rounds down.
        const __m128i average =
            _mm_sub_epi8(_mm_avg_epu8(left, up), _mm_and_si128(_mm_xor_si128(left, up), one));
        left = _mm_add_epi8(load<bpp>(row + i), average);
        store<bpp>(row + i, left);
    }
}

__m128i absolute16(__m128i x) {
    return _mm_max_epi16(x, _mm_sub_epi16(_mm_setzero_si128(), x));
}

__m128i select(__m128i mask, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

template <int bpp>
void undoPaeth(std::uint8_t* row, const std::uint8_t* previous, std::size_t bytes) {
    const __m128i zero = _mm_setzero_si128();
    __m128i left = zero;
    __m128i upLeft = zero;
    for (std::size_t i = 0; i + bpp <= bytes; i += bpp) {
        const __m128i up = _mm_unpacklo_epi8(load<bpp>(previous + i), zero);
        const __m128i raw = _mm_unpacklo_epi8(load<bpp>(row + i), zero);
        const __m128i upStep = _mm_sub_epi16(up, upLeft);
        const __m128i leftStep = _mm_sub_epi16(left, upLeft);
        const __m128i toLeft = absolute16(upStep);
        const __m128i toUp = absolute16(leftStep);
        const __m128i toUpLeft = absolute16(_mm_add_epi16(upStep, leftStep));
        const __m128i smallest = _mm_min_epi16(toUpLeft, _mm_min_epi16(toLeft, toUp));
        const __m128i nearest = select(_mm_cmpeq_epi16(smallest, toLeft), left,
                                       select(_mm_cmpeq_epi16(smallest, toUp), up, upLeft));
        // Adding bytes keeps the sum to 8 bits; the upper halves stay zero.
        left = _mm_add_epi8(raw, nearest);
        upLeft = up;
        store<bpp>(row + i, _mm_packus_epi16(left, left));
    }
}

template <int bpp>
void undoByPixels(int type, std::uint8_t* row, const std::uint8_t* previous, std::size_t bytes) {
    if (type == 1)
        undoSub<bpp>(row, bytes);
    else if (type == 3)
        undoAverage<bpp>(row, previous, bytes);
    else
        undoPaeth<bpp>(row, previous, bytes);
}

}  // namespace

bool unfilterPngRow(int type, std::uint8_t* row, const std::uint8_t* previous, std::size_t bytes,
                    std::size_t bytesPerPixel) {
    switch (type) {
        case 0:
            return true;
        case 2:
            undoUp(row, previous, bytes);
            return true;
        case 1:
        case 3:
        case 4:
            if (bytesPerPixel == 3)
                undoByPixels<3>(type, row, previous, bytes);
            else if (bytesPerPixel == 4)
                undoByPixels<4>(type, row, previous, bytes);
            else
                undoByBytes(type, row, previous, bytes, bytesPerPixel);
            return true;
        default:
            return false;
    }
}

}  // namespace TWQuickTime::image
