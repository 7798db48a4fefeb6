// The decimal number at the start of a text, after white space; what follows it does not matter.
#pragma once

#include <cstdint>
#include <string_view>

namespace TWQuickTime {

/// 0 when there is none; limited to the range of the type.
std::int64_t leadingInteger(std::string_view text) noexcept;
/// 0 when there is none. Digits, point and exponent only: no hexadecimal, "inf" or "nan", and
/// always with "." as the point, whatever the locale. Infinite or 0 beyond the range of the type.
double leadingReal(std::string_view text) noexcept;

}  // namespace TWQuickTime
