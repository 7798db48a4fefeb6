// Fractions brought to whole numbers, limited to the range of the type where a cast would not be
// defined.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace TWQuickTime {

/// The integer part; 0 for what is no number.
template <class Integer = std::int32_t>
Integer integerPart(double value) {
    if (std::isnan(value))
        return 0;
    const double whole = std::trunc(value);
    if (whole <= static_cast<double>(std::numeric_limits<Integer>::min()))
        return std::numeric_limits<Integer>::min();
    if (whole >= static_cast<double>(std::numeric_limits<Integer>::max()))
        return std::numeric_limits<Integer>::max();
    return static_cast<Integer>(whole);
}

/// To the nearest integer, halves away from zero.
template <class Integer = std::int32_t>
Integer nearestInteger(double value) {
    return integerPart<Integer>(std::round(value));
}

/// The low 16 bits of a whole number.
inline std::int16_t low16Bits(std::int64_t value) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
}

}  // namespace TWQuickTime
