#include "JsonOutput.h"

#include <gtest/gtest.h>

#include <limits>

namespace twqt {
namespace {

using TWQuickTime::NSArray;
using TWQuickTime::NSData;
using TWQuickTime::NSDate;
using TWQuickTime::NSDictionary;
using TWQuickTime::NSString;
using TWQuickTime::PropertyListValue;

std::string compact(const PropertyListValue& value) {
    return jsonFromPropertyList(value).dump();
}

TEST(JsonFromPropertyList, KeepsTheKindsOfValuesApart) {
    EXPECT_EQ(compact(nullptr), "null");
    EXPECT_EQ(compact(true), "true");
    EXPECT_EQ(compact(1), "1");
    EXPECT_EQ(compact(1.0), "1.0");
    EXPECT_EQ(compact("1"), "\"1\"");
}

TEST(JsonFromPropertyList, KeepsTheLargestNumbers) {
    EXPECT_EQ(compact(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(compact(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(JsonFromPropertyList, WritesDataAsHexAndDatesAsIso8601) {
    EXPECT_EQ(compact(NSData::dataWithBytes("\x00\xbe", 2)), "\"00be\"");
    EXPECT_EQ(compact(NSDate{0}), "\"2001-01-01T00:00:00Z\"");
    EXPECT_EQ(compact(NSDate{-1}), "\"2000-12-31T23:59:59Z\"");
    EXPECT_EQ(compact(NSDate{1e300}), "null");
}

TEST(JsonFromPropertyList, KeepsTheOrderOfKeysAndElements) {
    NSArray array;
    array.addObject(2);
    array.addObject("b");
    EXPECT_EQ(compact(NSDictionary{{"z", array}, {"a", NSDictionary::dictionary()}}),
              "{\"z\":[2,\"b\"],\"a\":{}}");
}

TEST(JsonFromString, TellsNilFromEmpty) {
    EXPECT_EQ(jsonFromString(nullptr).dump(), "null");
    EXPECT_EQ(jsonFromString("").dump(), "\"\"");
}

}  // namespace
}  // namespace twqt
