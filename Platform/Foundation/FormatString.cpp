#include "FormatString.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>

#include "Private/FormatSpecification.h"
#include "Private/UTF8Decoder.h"

namespace TWQuickTime {
namespace {

bool isNegative(const FormatArgument& argument) {
    const auto* value = std::get_if<std::int64_t>(&argument.value());
    return value && *value < 0;
}

/// As C promotes it: an argument narrower than an int is widened with its sign, unless the
/// conversion asks for its own width.
int widthInBits(const FormatArgument& argument, const FormatSpecification& specification) {
    return specification.isForShortType ? argument.bits() : std::max(argument.bits(), 32);
}

std::uint64_t lowBits(std::uint64_t value, int count) {
    return count >= 64 ? value : value & ((std::uint64_t{1} << count) - 1);
}

std::uint64_t asUnsigned(const FormatArgument& argument, const FormatSpecification& specification) {
    if (const auto* value = std::get_if<std::uint64_t>(&argument.value()))
        return *value;
    const auto bits = static_cast<std::uint64_t>(std::get<std::int64_t>(argument.value()));
    return isNegative(argument) ? lowBits(bits, widthInBits(argument, specification)) : bits;
}

std::int64_t asSigned(const FormatArgument& argument) {
    if (const auto* value = std::get_if<std::int64_t>(&argument.value()))
        return *value;
    const std::uint64_t value = std::get<std::uint64_t>(argument.value());
    if (argument.bits() == 32)
        return static_cast<std::int32_t>(value);
    return static_cast<std::int64_t>(value);
}

/// Digits in a base, filled with zeros up to a precision; nothing for 0 at precision 0.
std::string digitsOf(std::uint64_t value, int base, bool upperCase, std::optional<int> precision) {
    if (value == 0 && precision == 0)
        return {};
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, base).ptr;
    std::string digits(buffer, end);
    if (upperCase)
        std::ranges::transform(digits, digits.begin(), [](char c) {
            return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        });
    const auto least = static_cast<std::size_t>(precision.value_or(0));
    if (digits.size() < least)
        digits.insert(0, least - digits.size(), '0');
    return digits;
}

std::size_t lengthInCharacters(std::string_view utf8) {
    std::size_t count = 0;
    for (; !utf8.empty(); ++count)
        utf8.remove_prefix(unicode::decodeFirst(utf8).lengthInBytes);
    return count;
}

/// Prefix (sign or base) and body, filled to the width between them or around them.
std::string padded(std::string prefix, std::string body, bool zerosAllowed,
                   const FormatSpecification& specification) {
    const auto width = static_cast<std::size_t>(specification.width.value_or(0));
    const std::size_t length = prefix.size() + lengthInCharacters(body);
    const std::size_t missing = width > length ? width - length : 0;
    if (specification.leftAligned)
        return prefix + body + std::string(missing, ' ');
    if (specification.zeroFilled && zerosAllowed)
        return prefix + std::string(missing, '0') + body;
    return std::string(missing, ' ') + prefix + body;
}

std::string signFor(bool negative, const FormatSpecification& specification) {
    if (negative)
        return "-";
    return specification.plusSign ? "+" : specification.blankSign ? " " : "";
}

std::string convertSigned(std::int64_t value, const FormatSpecification& specification) {
    const auto magnitude =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    return padded(signFor(value < 0, specification),
                  digitsOf(magnitude, 10, false, specification.precision), !specification.precision,
                  specification);
}

std::string convertUnsigned(std::uint64_t value, const FormatSpecification& specification) {
    const char conversion = specification.conversion;
    const int base = conversion == 'u' ? 10 : conversion == 'o' ? 8 : 16;
    std::string prefix;
    if (specification.alternateForm && value != 0 && base != 10)
        prefix = base == 8 ? "0" : conversion == 'X' ? "0X" : "0x";
    return padded(std::move(prefix),
                  digitsOf(value, base, conversion == 'X', specification.precision),
                  !specification.precision, specification);
}

std::string convertReal(double value, const FormatSpecification& specification) {
    constexpr int precisionLimit = 400;
    std::string format = "%";
    if (specification.alternateForm)
        format += '#';
    format += ".*";
    format += specification.conversion;
    char text[1024];
    const double magnitude = __builtin_signbit(value) ? -value : value;
    const int precision = std::min(specification.precision.value_or(6), precisionLimit);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::snprintf(text, sizeof text, format.c_str(), precision, magnitude);
#pragma GCC diagnostic pop
    std::string body(text, static_cast<std::size_t>(std::max(length, 0)));
    // The process's locale may write another decimal point.
    std::ranges::replace(body, ',', '.');
    return padded(signFor(__builtin_signbit(value), specification), std::move(body),
                  value - value == 0, specification);
}

/// One byte as its Latin-1 character for %c, one UTF-16 unit for %C.
std::string convertCharacter(std::uint64_t value, const FormatSpecification& specification) {
    std::string text;
    unicode::appendUTF8(text, static_cast<char32_t>(
                                  specification.conversion == 'c' ? value & 0xFF : value & 0xFFFF));
    return padded({}, std::move(text), false, specification);
}

std::string convertText(const NSString& text, const FormatSpecification& specification) {
    std::string_view shown = text.isNil() ? std::string_view("(null)") : text.utf8();
    if (specification.precision) {
        std::size_t end = 0;
        for (int count = 0; count < *specification.precision && end < shown.size(); ++count)
            end += unicode::decodeFirst(shown.substr(end)).lengthInBytes;
        shown = shown.substr(0, end);
    }
    return padded({}, std::string(shown), false, specification);
}

/// An argument that the conversion does not fit, in the form of its own kind.
std::string convertAsItsOwnKind(const FormatArgument& argument, FormatSpecification specification) {
    specification.precision.reset();
    if (const auto* value = std::get_if<std::int64_t>(&argument.value()))
        return convertSigned(*value, specification);
    if (const auto* value = std::get_if<std::uint64_t>(&argument.value())) {
        specification.conversion = 'u';
        return convertUnsigned(*value, specification);
    }
    if (const auto* value = std::get_if<double>(&argument.value())) {
        specification.conversion = 'g';
        return convertReal(*value, specification);
    }
    return convertText(std::get<NSString>(argument.value()), specification);
}

std::string convert(const FormatArgument& argument, const FormatSpecification& specification) {
    const bool isInteger = !std::holds_alternative<double>(argument.value()) &&
                           !std::holds_alternative<NSString>(argument.value());
    switch (specification.conversion) {
        case 'd':
        case 'i':
            if (isInteger)
                return convertSigned(asSigned(argument), specification);
            break;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            if (isInteger)
                return convertUnsigned(asUnsigned(argument, specification), specification);
            break;
        case 'c':
        case 'C':
            if (isInteger)
                return convertCharacter(asUnsigned(argument, specification), specification);
            break;
        case 's':
        case '@':
            if (const auto* text = std::get_if<NSString>(&argument.value()))
                return convertText(*text, specification);
            break;
        default:
            if (const auto* real = std::get_if<double>(&argument.value()))
                return convertReal(*real, specification);
            break;
    }
    return convertAsItsOwnKind(argument, specification);
}

}  // namespace

FormatArgument::FormatArgument(const char* text) : value_(NSString(text)) {}

FormatArgument::FormatArgument(NSString text) : value_(std::move(text)) {}

NSString formatStringWithArguments(std::string_view format,
                                   std::span<const FormatArgument> arguments) {
    std::string line;
    line.reserve(format.size() + 16 * arguments.size());
    std::size_t nextArgument = 0;
    const auto takeInteger = [&]() -> std::optional<int> {
        if (nextArgument >= arguments.size())
            return std::nullopt;
        const FormatArgument& argument = arguments[nextArgument++];
        if (const auto* value = std::get_if<std::int64_t>(&argument.value()))
            return static_cast<int>(
                std::clamp<std::int64_t>(*value, -formatWidthMaximum, formatWidthMaximum));
        return std::nullopt;
    };
    while (!format.empty()) {
        const std::size_t percent = std::min(format.find('%'), format.size());
        line += format.substr(0, percent);
        format.remove_prefix(percent);
        if (format.empty())
            break;
        std::optional<ParsedConversion> parsed = parseConversion(format);
        if (!parsed) {
            // Not a conversion: the text stands as it is.
            line += '%';
            format.remove_prefix(1);
            continue;
        }
        format.remove_prefix(parsed->lengthInBytes);
        FormatSpecification& specification = parsed->specification;
        if (specification.conversion == '%') {
            line += '%';
            continue;
        }
        if (specification.widthFromArgument)
            specification.setWidth(takeInteger());
        if (specification.precisionFromArgument)
            specification.setPrecision(takeInteger());
        const std::size_t index =
            specification.position ? *specification.position - 1 : nextArgument++;
        if (index < arguments.size())
            line += convert(arguments[index], specification);
    }
    return NSString(std::move(line));
}

}  // namespace TWQuickTime
