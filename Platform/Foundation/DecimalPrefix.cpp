#include "Private/DecimalPrefix.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace TWQuickTime {
namespace {

void skipWhitespace(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

/// True when the sign was a minus.
bool takeSign(std::string_view& text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    return isNegative;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t countDigits(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
}

/// Whether a number that the type cannot hold is too large (true) or too small.
bool overflowsUpward(std::string_view mantissa, std::string_view exponentDigits,
                     bool exponentIsNegative) {
    const std::size_t wholeDigits = countDigits(mantissa);
    const std::string_view whole = mantissa.substr(0, wholeDigits);
    const auto leadingZeros = [](std::string_view digits) {
        return std::min(digits.find_first_not_of('0'), digits.size());
    };
    // Decimal magnitude of the mantissa: digits before the point, or minus the zeros behind it.
    double magnitude = static_cast<double>(whole.size() - leadingZeros(whole));
    if (magnitude == 0 && wholeDigits < mantissa.size())
        magnitude = -static_cast<double>(leadingZeros(mantissa.substr(wholeDigits + 1)));
    double exponent = 0;
    for (const char digit : exponentDigits)
        exponent = exponent * 10 + (digit - '0');
    return magnitude + (exponentIsNegative ? -exponent : exponent) > 0;
}

}  // namespace

std::int64_t leadingInteger(std::string_view text) noexcept {
    skipWhitespace(text);
    const bool isNegative = takeSign(text);
    const std::string_view digits = text.substr(0, countDigits(text));
    using Limits = std::numeric_limits<std::int64_t>;
    std::int64_t value = 0;
    for (const char digit : digits) {
        // Counted downward, where the range reaches one further.
        if (__builtin_mul_overflow(value, 10, &value) ||
            __builtin_sub_overflow(value, digit - '0', &value))
            return isNegative ? Limits::min() : Limits::max();
    }
    if (isNegative)
        return value;
    return value == Limits::min() ? Limits::max() : -value;
}

double leadingReal(std::string_view text) noexcept {
    skipWhitespace(text);
    const bool isNegative = takeSign(text);
    std::size_t end = countDigits(text);
    std::size_t digitCount = end;
    if (end < text.size() && text[end] == '.') {
        const std::size_t fractionDigits = countDigits(text.substr(end + 1));
        digitCount += fractionDigits;
        end += 1 + fractionDigits;
    }
    if (digitCount == 0)
        return 0;
    const std::string_view mantissa = text.substr(0, end);
    std::string_view exponentDigits;
    bool exponentIsNegative = false;
    if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
        std::string_view rest = text.substr(end + 1);
        exponentIsNegative = takeSign(rest);
        exponentDigits = rest.substr(0, countDigits(rest));
        if (!exponentDigits.empty())
            end = static_cast<std::size_t>(exponentDigits.data() - text.data()) +
                  exponentDigits.size();
    }
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + end, value);
    if (result.ec == std::errc::result_out_of_range)
        value = overflowsUpward(mantissa, exponentDigits, exponentIsNegative)
                    ? std::numeric_limits<double>::infinity()
                    : 0.0;
    return isNegative ? -value : value;
}

}  // namespace TWQuickTime
