#include "FormatString.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>

#include "Private/FormatField.h"
#include "Private/UTF8Decoder.h"

namespace TWQuickTime {
namespace {

bool isNegative(const FormatArgument& argument) {
    const auto* value = std::get_if<std::int64_t>(&argument.value());
    return value && *value < 0;
}

/// As C promotes it: an argument narrower than an int is widened with its sign, unless the
/// conversion asks for its own width.
int widthInBits(const FormatArgument& argument, const FormatField& field) {
    return field.isForShortType ? argument.bits() : std::max(argument.bits(), 32);
}

std::uint64_t lowBits(std::uint64_t value, int count) {
    return count >= 64 ? value : value & ((std::uint64_t{1} << count) - 1);
}

std::uint64_t asUnsigned(const FormatArgument& argument, const FormatField& field) {
    if (const auto* value = std::get_if<std::uint64_t>(&argument.value()))
        return *value;
    const auto bits = static_cast<std::uint64_t>(std::get<std::int64_t>(argument.value()));
    return isNegative(argument) ? lowBits(bits, widthInBits(argument, field)) : bits;
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
                   const FormatField& field) {
    const auto width = static_cast<std::size_t>(field.width.value_or(0));
    const std::size_t length = prefix.size() + lengthInCharacters(body);
    const std::size_t missing = width > length ? width - length : 0;
    if (field.leftAligned)
        return prefix + body + std::string(missing, ' ');
    if (field.zeroFilled && zerosAllowed)
        return prefix + std::string(missing, '0') + body;
    return std::string(missing, ' ') + prefix + body;
}

std::string signFor(bool negative, const FormatField& field) {
    if (negative)
        return "-";
    return field.plusSign ? "+" : field.blankSign ? " " : "";
}

std::string convertSigned(std::int64_t value, const FormatField& field) {
    const auto magnitude =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    return padded(signFor(value < 0, field), digitsOf(magnitude, 10, false, field.precision),
                  !field.precision, field);
}

std::string convertUnsigned(std::uint64_t value, const FormatField& field) {
    const char conversion = field.conversion;
    const int base = conversion == 'u' ? 10 : conversion == 'o' ? 8 : 16;
    std::string prefix;
    if (field.alternateForm && value != 0 && base != 10)
        prefix = base == 8 ? "0" : conversion == 'X' ? "0X" : "0x";
    return padded(std::move(prefix), digitsOf(value, base, conversion == 'X', field.precision),
                  !field.precision, field);
}

std::string convertReal(double value, const FormatField& field) {
    constexpr int precisionLimit = 400;
    std::string format = "%";
    if (field.alternateForm)
        format += '#';
    format += ".*";
    format += field.conversion;
    char text[1024];
    const double magnitude = __builtin_signbit(value) ? -value : value;
    const int precision = std::min(field.precision.value_or(6), precisionLimit);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::snprintf(text, sizeof text, format.c_str(), precision, magnitude);
#pragma GCC diagnostic pop
    std::string body(text, static_cast<std::size_t>(std::max(length, 0)));
    // The process's locale may write another decimal point.
    std::ranges::replace(body, ',', '.');
    return padded(signFor(__builtin_signbit(value), field), std::move(body), value - value == 0,
                  field);
}

/// One byte as its Latin-1 character for %c, one UTF-16 unit for %C.
std::string convertCharacter(std::uint64_t value, const FormatField& field) {
    std::string text;
    unicode::appendUTF8(
        text, static_cast<char32_t>(field.conversion == 'c' ? value & 0xFF : value & 0xFFFF));
    return padded({}, std::move(text), false, field);
}

std::string convertText(const NSString& text, const FormatField& field) {
    std::string_view shown = text.isNil() ? std::string_view("(null)") : text.utf8();
    if (field.precision) {
        std::size_t end = 0;
        for (int count = 0; count < *field.precision && end < shown.size(); ++count)
            end += unicode::decodeFirst(shown.substr(end)).lengthInBytes;
        shown = shown.substr(0, end);
    }
    return padded({}, std::string(shown), false, field);
}

/// An argument that the conversion does not fit, in the form of its own kind.
std::string convertAsItsOwnKind(const FormatArgument& argument, FormatField field) {
    field.precision.reset();
    if (const auto* value = std::get_if<std::int64_t>(&argument.value()))
        return convertSigned(*value, field);
    if (const auto* value = std::get_if<std::uint64_t>(&argument.value())) {
        field.conversion = 'u';
        return convertUnsigned(*value, field);
    }
    if (const auto* value = std::get_if<double>(&argument.value())) {
        field.conversion = 'g';
        return convertReal(*value, field);
    }
    return convertText(std::get<NSString>(argument.value()), field);
}

std::string convert(const FormatArgument& argument, const FormatField& field) {
    const bool isInteger = !std::holds_alternative<double>(argument.value()) &&
                           !std::holds_alternative<NSString>(argument.value());
    switch (field.conversion) {
        case 'd':
        case 'i':
            if (isInteger)
                return convertSigned(asSigned(argument), field);
            break;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            if (isInteger)
                return convertUnsigned(asUnsigned(argument, field), field);
            break;
        case 'c':
        case 'C':
            if (isInteger)
                return convertCharacter(asUnsigned(argument, field), field);
            break;
        case 's':
        case '@':
            if (const auto* text = std::get_if<NSString>(&argument.value()))
                return convertText(*text, field);
            break;
        default:
            if (const auto* real = std::get_if<double>(&argument.value()))
                return convertReal(*real, field);
            break;
    }
    return convertAsItsOwnKind(argument, field);
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
        FormatField& field = parsed->field;
        if (field.conversion == '%') {
            line += '%';
            continue;
        }
        if (field.widthFromArgument)
            field.setWidth(takeInteger());
        if (field.precisionFromArgument)
            field.setPrecision(takeInteger());
        const std::size_t index = field.position ? *field.position - 1 : nextArgument++;
        if (index < arguments.size())
            line += convert(arguments[index], field);
    }
    return NSString(std::move(line));
}

}  // namespace TWQuickTime
