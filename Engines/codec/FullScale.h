// The limit of sound: ±1.0.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

namespace TWQuickTime::codec {

/// The sample, or full scale of its sign where it is beyond; silence for what is not a number.
/// Looks at the bits because compilers make vector instructions of whole numbers' comparisons, not
/// of those of floating-point numbers, which may trap.
inline float withinFullScale(float sample) {
    constexpr std::uint32_t signBit = 0x80000000;
    constexpr auto fullScale = std::bit_cast<std::int32_t>(1.0f);
    constexpr auto infinity = std::bit_cast<std::int32_t>(std::numeric_limits<float>::infinity());
    const auto bits = std::bit_cast<std::uint32_t>(sample);
    const auto magnitude = static_cast<std::int32_t>(bits & ~signBit);
    const std::int32_t limited = magnitude > infinity    ? 0
                                 : magnitude > fullScale ? fullScale
                                                         : magnitude;
    return std::bit_cast<float>(static_cast<std::uint32_t>(limited) | (bits & signBit));
}

}  // namespace TWQuickTime::codec
