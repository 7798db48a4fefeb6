// Text from a format and its arguments, as the platform's loggers and string builders take them.
//
// Conversions: %s (text, null prints "(null)"), %@ (string or anything with a description; none
// prints "(null)"), %c, %d %i %u %x %X with any length letters, %f %g, %%. Each argument knows its
// own kind: a conversion that does not fit prints the argument in its own form, and a missing one
// prints nothing. Widths and precisions ("%02d", "%.3f") are honoured.
//
//     NSString line = formatString("%s - GetMovieBox returned in error : %d", name, status);
#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// One argument of a format, with its kind.
class TWQT_EXPORT FormatArgument {
  public:
    template <std::integral T>
    FormatArgument(T value)
        : value_(std::is_signed_v<T> ? Value(std::int64_t(value)) : Value(std::uint64_t(value))),
          bits_(sizeof(T) * 8) {}
    template <std::floating_point T>
    FormatArgument(T value) : value_(double(value)) {}
    FormatArgument(const char* text);
    FormatArgument(NSString text);
    FormatArgument(std::nullptr_t) : value_(NSString()) {}
    /// Any object that describes itself.
    template <class T>
    requires requires(const T& object) {
        { object.description() } -> std::convertible_to<NSString>;
    }
    FormatArgument(const T& object) : value_(NSString(object.description())) {}

    using Value = std::variant<std::int64_t, std::uint64_t, double, NSString>;
    const Value& value() const { return value_; }
    /// Width of an integer argument: a negative one printed as unsigned keeps only these bits.
    int bits() const { return bits_; }

  private:
    Value value_;
    int bits_ = 64;
};

TWQT_EXPORT NSString formatStringWithArguments(std::string_view format,
                                               std::span<const FormatArgument> arguments);

template <class... Arguments>
NSString formatString(std::string_view format, const Arguments&... arguments) {
    if constexpr (sizeof...(arguments) == 0) {
        return formatStringWithArguments(format, {});
    } else {
        const FormatArgument list[] = {FormatArgument(arguments)...};
        return formatStringWithArguments(format, list);
    }
}

}  // namespace TWQuickTime
