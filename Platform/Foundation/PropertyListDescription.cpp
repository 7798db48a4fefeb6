#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "PropertyListValue.h"

namespace TWQuickTime {
namespace {

constexpr std::size_t indentationPerLevel = 4;

std::string textOfReal(double value) {
    char text[32];
    const int length = std::snprintf(text, sizeof text, "%0.16g", value);
    std::string result(text, static_cast<std::size_t>(length));
    // The process's locale may write another decimal point.
    std::ranges::replace(result, ',', '.');
    return result;
}

std::string textOfDate(NSDate date) {
    constexpr double referenceDateSinceEpoch = 978307200.0;
    // Years beyond four digits have no such form.
    constexpr double limit = 1e11;
    const double seconds = std::floor(date.secondsSinceReferenceDate + referenceDateSinceEpoch);
    if (!(std::abs(seconds) < limit))
        return textOfReal(date.secondsSinceReferenceDate);
    const auto time = static_cast<time_t>(seconds);
    tm parts{};
    gmtime_r(&time, &parts);
    char text[64];
    return std::string(text, strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &parts));
}

/// Words of letters, digits, "_", "$", "/", ":" and "." stand as they are; others get quotes.
std::string quotedWhereNeeded(const std::string& text) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_$/:.";
    if (!text.empty() && text.find_first_not_of(plain) == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        if (c == '\n')
            quoted += "\\n";
        else
            quoted += c;
    }
    return quoted + '"';
}

class Describer {
  public:
    void describe(const NSArray& array, std::size_t level) {
        text_ += "(\n";
        for (const PropertyListValue& value : array) {
            indent(level + 1);
            describeMember(value, level + 1);
            text_ += &value + 1 == array.end() ? "\n" : ",\n";
        }
        indent(level);
        text_ += ')';
    }

    void describe(const NSDictionary& dictionary, std::size_t level) {
        text_ += "{\n";
        for (const auto& [key, value] : dictionary) {
            indent(level + 1);
            text_ += quotedWhereNeeded(key.utf8()) + " = ";
            describeMember(value, level + 1);
            text_ += ";\n";
        }
        indent(level);
        text_ += '}';
    }

    std::string take() { return std::move(text_); }

  private:
    void describeMember(const PropertyListValue& value, std::size_t level) {
        if (value.kind() == PropertyListValue::Kind::array)
            describe(value.arrayValue(), level);
        else if (value.kind() == PropertyListValue::Kind::dictionary)
            describe(value.dictionaryValue(), level);
        else if (value.isNull())
            text_ += "\"<null>\"";
        else if (value.kind() == PropertyListValue::Kind::data)
            text_ += value.description().utf8();
        else
            text_ += quotedWhereNeeded(value.description().utf8());
    }

    void indent(std::size_t level) { text_.append(level * indentationPerLevel, ' '); }

    std::string text_;
};

}  // namespace

NSString NSArray::description() const {
    if (isNil())
        return nullptr;
    Describer describer;
    describer.describe(*this, 0);
    return NSString(describer.take());
}

NSString NSDictionary::description() const {
    if (isNil())
        return nullptr;
    Describer describer;
    describer.describe(*this, 0);
    return NSString(describer.take());
}

NSString PropertyListValue::description() const {
    switch (kind()) {
        case Kind::null:
            return nullptr;
        case Kind::boolean:
            return NSString(boolValue() ? "1" : "0");
        case Kind::integer:
            return NSString(std::holds_alternative<std::uint64_t>(storage_)
                                ? std::to_string(unsignedLongLongValue())
                                : std::to_string(longLongValue()));
        case Kind::real:
            return NSString(textOfReal(doubleValue()));
        case Kind::string:
            return stringValue();
        case Kind::data:
            return dataValue().description();
        case Kind::date:
            return NSString(textOfDate(dateValue()));
        case Kind::uid:
            return NSString("<UID " + std::to_string(uidValue().value) + '>');
        case Kind::array:
            return arrayValue().description();
        case Kind::dictionary:
            return dictionaryValue().description();
    }
    return nullptr;
}

}  // namespace TWQuickTime
