// Arithmetic on times and durations that count units of a time scale (units per second).
//
// Everything is exact in between (128 bits) and saturates instead of wrapping around.
#pragma once

#include <cstdint>
#include <limits>

namespace TWQuickTime::timeline {

/// Signed 16.16 fixed point; 0x10000 is 1.
using Fixed = std::int32_t;
constexpr Fixed kFixedOne = 0x10000;

/// value · toScale ÷ fromScale, to the nearest unit, halves away from zero.
/// A scale of 0, or a fromScale below 0, gives 0.
std::int64_t rescale(std::int64_t value, std::int64_t fromScale, std::int64_t toScale);

/// As `rescale`, toward negative infinity.
std::int64_t rescaleDown(std::int64_t value, std::int64_t fromScale, std::int64_t toScale);

/// As `rescale`, toward positive infinity.
std::int64_t rescaleUp(std::int64_t value, std::int64_t fromScale, std::int64_t toScale);

/// a + b, held within the range of 64 bits.
inline std::int64_t addSaturating(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum))
        return b < 0 ? std::numeric_limits<std::int64_t>::min()
                     : std::numeric_limits<std::int64_t>::max();
    return sum;
}

/// a - b, held within the range of 64 bits.
inline std::int64_t subtractSaturating(std::int64_t a, std::int64_t b) {
    std::int64_t difference = 0;
    if (__builtin_sub_overflow(a, b, &difference))
        return b < 0 ? std::numeric_limits<std::int64_t>::max()
                     : std::numeric_limits<std::int64_t>::min();
    return difference;
}

/// a · b, held within the range of 64 bits.
inline std::int64_t multiplySaturating(std::int64_t a, std::int64_t b) {
    std::int64_t product = 0;
    if (__builtin_mul_overflow(a, b, &product))
        return (a < 0) == (b < 0) ? std::numeric_limits<std::int64_t>::max()
                                  : std::numeric_limits<std::int64_t>::min();
    return product;
}

}  // namespace TWQuickTime::timeline
