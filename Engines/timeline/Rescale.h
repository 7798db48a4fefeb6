// Arithmetic on times and durations that count units of a time scale (units per second).
//
// Everything is exact in between (128 bits) and saturates instead of wrapping around.
#pragma once

#include <cstdint>

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
std::int64_t addSaturating(std::int64_t a, std::int64_t b);

/// a - b, held within the range of 64 bits.
std::int64_t subtractSaturating(std::int64_t a, std::int64_t b);

/// a · b, held within the range of 64 bits.
std::int64_t multiplySaturating(std::int64_t a, std::int64_t b);

}  // namespace TWQuickTime::timeline
