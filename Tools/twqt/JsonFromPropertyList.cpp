#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "JsonOutput.h"

namespace twqt {
namespace {

using TWQuickTime::NSData;
using TWQuickTime::NSDate;
using TWQuickTime::PropertyListValue;

Json jsonFromDate(NSDate date) {
    using namespace std::chrono;
    constexpr sys_days referenceDate = year(2001) / January / 1;
    // Years beyond four digits have no ISO 8601 form that every reader takes.
    constexpr double limitInSeconds = 2.5e11;
    if (!(std::abs(date.secondsSinceReferenceDate) < limitInSeconds))
        return nullptr;
    const sys_seconds moment =
        referenceDate + seconds(std::int64_t(std::floor(date.secondsSinceReferenceDate)));
    const sys_days day = floor<days>(moment);
    const year_month_day calendar(day);
    const hh_mm_ss clock(moment - day);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", int(calendar.year()),
                  unsigned(calendar.month()), unsigned(calendar.day()), int(clock.hours().count()),
                  int(clock.minutes().count()), int(clock.seconds().count()));
    return text;
}

}  // namespace

Json jsonFromData(const NSData& data) {
    if (data.isNil())
        return nullptr;
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(data.length() * 2);
    for (const std::byte byte : data.bytes()) {
        text += digits[std::to_integer<unsigned>(byte) >> 4];
        text += digits[std::to_integer<unsigned>(byte) & 0x0f];
    }
    return text;
}

Json jsonFromPropertyList(const PropertyListValue& value) {
    switch (value.kind()) {
        case PropertyListValue::Kind::null:
            return nullptr;
        case PropertyListValue::Kind::boolean:
            return value.boolValue();
        case PropertyListValue::Kind::integer:
            // Only values above the signed range lose their sign bit's meaning as signed ones.
            if (value == PropertyListValue(value.longLongValue()))
                return value.longLongValue();
            return value.unsignedLongLongValue();
        case PropertyListValue::Kind::real:
            return value.doubleValue();
        case PropertyListValue::Kind::string:
            return jsonFromString(value.stringValue());
        case PropertyListValue::Kind::data:
            return jsonFromData(value.dataValue());
        case PropertyListValue::Kind::date:
            return jsonFromDate(value.dateValue());
        case PropertyListValue::Kind::uid:
            return value.uidValue().value;
        case PropertyListValue::Kind::array: {
            Json array = Json::array();
            for (const PropertyListValue& element : value.arrayValue())
                array.push_back(jsonFromPropertyList(element));
            return array;
        }
        case PropertyListValue::Kind::dictionary: {
            Json object = Json::object();
            for (const auto& [key, element] : value.dictionaryValue())
                object[key.utf8()] = jsonFromPropertyList(element);
            return object;
        }
    }
    return nullptr;
}

}  // namespace twqt
