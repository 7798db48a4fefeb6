#include "PropertyListValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <unordered_set>

namespace TWQuickTime {
namespace {

using Kind = PropertyListValue::Kind;

const double notANumber = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

TEST(PropertyListValue, KeepsTheKindItWasMadeOf) {
    EXPECT_EQ(PropertyListValue().kind(), Kind::null);
    EXPECT_EQ(PropertyListValue(nullptr).kind(), Kind::null);
    EXPECT_EQ(PropertyListValue(true).kind(), Kind::boolean);
    EXPECT_EQ(PropertyListValue(1).kind(), Kind::integer);
    EXPECT_EQ(PropertyListValue(1u).kind(), Kind::integer);
    EXPECT_EQ(PropertyListValue(std::numeric_limits<std::uint64_t>::max()).kind(), Kind::integer);
    EXPECT_EQ(PropertyListValue(1.0).kind(), Kind::real);
    EXPECT_EQ(PropertyListValue("1").kind(), Kind::string);
    EXPECT_EQ(PropertyListValue(NSString("1")).kind(), Kind::string);
    EXPECT_EQ(PropertyListValue(NSData::dataWithBytes("", 0)).kind(), Kind::data);
    EXPECT_EQ(PropertyListValue(NSDate{1}).kind(), Kind::date);
    EXPECT_EQ(PropertyListValue(PropertyListUID{1}).kind(), Kind::uid);
    EXPECT_EQ(PropertyListValue(NSArray::array()).kind(), Kind::array);
    EXPECT_EQ(PropertyListValue(NSDictionary::dictionary()).kind(), Kind::dictionary);
}

TEST(PropertyListValue, NilObjectsGiveTheNullValue) {
    EXPECT_TRUE(PropertyListValue(static_cast<const char*>(nullptr)).isNull());
    EXPECT_TRUE(PropertyListValue(NSString()).isNull());
    EXPECT_TRUE(PropertyListValue(NSData()).isNull());
    EXPECT_TRUE(PropertyListValue(NSArray()).isNull());
    EXPECT_TRUE(PropertyListValue(NSDictionary()).isNull());
}

TEST(PropertyListValue, AValueOfAnotherKindReadsAsNilOrZero) {
    const PropertyListValue number(7), text("seven");
    EXPECT_TRUE(number.stringValue().isNil());
    EXPECT_TRUE(number.dataValue().isNil());
    EXPECT_TRUE(number.arrayValue().isNil());
    EXPECT_TRUE(number.dictionaryValue().isNil());
    EXPECT_EQ(number.dateValue(), NSDate{0});
    EXPECT_EQ(number.uidValue(), PropertyListUID{0});
    EXPECT_EQ(text.intValue(), 0);
    EXPECT_EQ(PropertyListValue(NSArray::array()).doubleValue(), 0.0);
    EXPECT_FALSE(PropertyListValue(NSDate{1}).boolValue());
    EXPECT_FALSE(PropertyListValue(PropertyListUID{1}).isNumber());
}

TEST(PropertyListValue, NumbersAreEqualAcrossKindsAndHashAlike) {
    const PropertyListValue ones[] = {true, 1, 1u, std::int64_t{1}, std::uint64_t{1}, 1.0};
    for (const PropertyListValue& a : ones)
        for (const PropertyListValue& b : ones) {
            EXPECT_EQ(a, b);
            EXPECT_EQ(a.hash(), b.hash());
        }
    const PropertyListValue zeros[] = {false, 0, 0.0, -0.0};
    for (const PropertyListValue& a : zeros)
        for (const PropertyListValue& b : zeros) {
            EXPECT_EQ(a, b);
            EXPECT_EQ(a.hash(), b.hash());
        }
    EXPECT_EQ(PropertyListValue(-3), PropertyListValue(-3.0));
    EXPECT_EQ(PropertyListValue(-3).hash(), PropertyListValue(-3.0).hash());
    EXPECT_FALSE(PropertyListValue(1) == PropertyListValue(1.5));
    EXPECT_FALSE(PropertyListValue(true) == PropertyListValue(2));
}

TEST(PropertyListValue, LargeNumbersAreComparedExactly) {
    const std::int64_t odd = (std::int64_t{1} << 53) + 1;
    EXPECT_FALSE(PropertyListValue(odd) == PropertyListValue(9007199254740992.0));
    EXPECT_EQ(PropertyListValue(odd - 1), PropertyListValue(9007199254740992.0));
    EXPECT_FALSE(PropertyListValue(std::numeric_limits<std::uint64_t>::max()) ==
                 PropertyListValue(-1));
    EXPECT_FALSE(PropertyListValue(std::numeric_limits<std::uint64_t>::max()) ==
                 PropertyListValue(18446744073709551616.0));
    EXPECT_EQ(PropertyListValue(std::uint64_t{1} << 63), PropertyListValue(9223372036854775808.0));
    EXPECT_EQ(PropertyListValue(std::numeric_limits<std::int64_t>::min()),
              PropertyListValue(-9223372036854775808.0));
}

TEST(PropertyListValue, ANotANumberEqualsItself) {
    EXPECT_EQ(PropertyListValue(notANumber), PropertyListValue(-notANumber));
    EXPECT_EQ(PropertyListValue(notANumber).hash(), PropertyListValue(-notANumber).hash());
    EXPECT_FALSE(PropertyListValue(notANumber) == PropertyListValue(0));
    EXPECT_EQ(PropertyListValue(infinity), PropertyListValue(infinity));
    EXPECT_FALSE(PropertyListValue(infinity) == PropertyListValue(-infinity));
}

TEST(PropertyListValue, AStringNeverEqualsANumberNorAUIDOne) {
    EXPECT_FALSE(PropertyListValue("1") == PropertyListValue(1));
    EXPECT_FALSE(PropertyListValue(PropertyListUID{1}) == PropertyListValue(1));
    EXPECT_FALSE(PropertyListValue() == PropertyListValue(0));
    EXPECT_FALSE(PropertyListValue(NSDate{1}) == PropertyListValue(1.0));
    EXPECT_EQ(PropertyListValue("ä"), PropertyListValue(NSString("ä")));
    EXPECT_EQ(PropertyListValue(), PropertyListValue());
}

TEST(PropertyListValue, IntegersKeepTheirLowBitsAndRealsAreCutAndLimited) {
    EXPECT_EQ(PropertyListValue(std::int64_t{0x1'2345'6789}).intValue(), 0x23456789);
    EXPECT_EQ(PropertyListValue(0xFFFFFFFFu).intValue(), -1);
    EXPECT_EQ(PropertyListValue(std::numeric_limits<std::uint64_t>::max()).longLongValue(), -1);
    EXPECT_EQ(PropertyListValue(-1).unsignedLongLongValue(),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(PropertyListValue(2.9).intValue(), 2);
    EXPECT_EQ(PropertyListValue(-2.9).intValue(), -2);
    EXPECT_EQ(PropertyListValue(1e10).intValue(), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(PropertyListValue(-1e10).intValue(), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(PropertyListValue(1e30).longLongValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(PropertyListValue(-1e30).longLongValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(PropertyListValue(1e30).unsignedLongLongValue(),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(PropertyListValue(9223372036854775808.0).longLongValue(),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(PropertyListValue(notANumber).intValue(), 0);
    EXPECT_EQ(PropertyListValue(true).intValue(), 1);
    EXPECT_EQ(PropertyListValue(7).doubleValue(), 7.0);
}

TEST(PropertyListValue, StringsAreReadByTheirLeadingNumber) {
    EXPECT_EQ(PropertyListValue("12 fps").intValue(), 12);
    EXPECT_EQ(PropertyListValue("12.5 fps").doubleValue(), 12.5);
    EXPECT_TRUE(PropertyListValue("YES").boolValue());
    EXPECT_FALSE(PropertyListValue("NO").boolValue());
}

TEST(PropertyListValue, TruthIsAnythingButZero) {
    EXPECT_TRUE(PropertyListValue(0.25).boolValue());
    EXPECT_TRUE(PropertyListValue(-1).boolValue());
    EXPECT_FALSE(PropertyListValue(-0.0).boolValue());
    EXPECT_FALSE(PropertyListValue().boolValue());
}

TEST(PropertyListValue, ContainersHashAlikeWhenTheyAreEqual) {
    NSArray integers, reals;
    integers.addObject(1);
    integers.addObject("x");
    reals.addObject(1.0);
    reals.addObject("x");
    EXPECT_EQ(PropertyListValue(integers), PropertyListValue(reals));
    EXPECT_EQ(PropertyListValue(integers).hash(), PropertyListValue(reals).hash());
    const NSDictionary ab{{"a", 1}, {"b", integers}}, ba{{"b", reals}, {"a", true}};
    EXPECT_EQ(ab, ba);
    EXPECT_EQ(PropertyListValue(ab).hash(), PropertyListValue(ba).hash());
    EXPECT_FALSE(PropertyListValue(integers) == PropertyListValue(ab));
}

TEST(PropertyListValue, CanBeAKeyOfAHashedSet) {
    const std::unordered_set<PropertyListValue> set = {1, 1.0, true, "1", NSDate{1}, 2};
    EXPECT_EQ(set.size(), 4u);
}

TEST(PropertyListValue, DescribesItselfAsItsObjectPrints) {
    EXPECT_TRUE(PropertyListValue().description().isNil());
    EXPECT_EQ(PropertyListValue(true).description(), "1");
    EXPECT_EQ(PropertyListValue(-5).description(), "-5");
    EXPECT_EQ(PropertyListValue(std::numeric_limits<std::uint64_t>::max()).description(),
              "18446744073709551615");
    EXPECT_EQ(PropertyListValue(0.1).description(), "0.1");
    EXPECT_EQ(PropertyListValue(2.0).description(), "2");
    EXPECT_EQ(PropertyListValue("plain text").description(), "plain text");
    EXPECT_EQ(PropertyListValue(NSDate{0}).description(), "2001-01-01 00:00:00 +0000");
    EXPECT_EQ(PropertyListValue(NSDate{-0.5}).description(), "2000-12-31 23:59:59 +0000");
    EXPECT_EQ(PropertyListValue(NSDate{1e300}).description(), "1e+300");
    EXPECT_EQ(PropertyListValue(NSDate{notANumber}).description().hasSuffix("nan"), true);
    EXPECT_EQ(PropertyListValue(PropertyListUID{3}).description(), "<UID 3>");
    EXPECT_EQ(PropertyListValue(NSData::dataWithBytes("\1\2", 2)).description(), "<0102>");
}

TEST(PropertyListValue, DescribesContainersOneValueALine) {
    NSArray array;
    array.addObject(1);
    array.addObject("two words");
    array.addObject("a\"b\\c\nd");
    array.addObject("");
    const NSDictionary dictionary{
        {"Name", "H264"}, {"a key", array}, {"Empty", NSDictionary::dictionary()}};
    EXPECT_EQ(dictionary.description(),
              "{\n"
              "    Name = H264;\n"
              "    \"a key\" = (\n"
              "        1,\n"
              "        \"two words\",\n"
              "        \"a\\\"b\\\\c\\nd\",\n"
              "        \"\"\n"
              "    );\n"
              "    Empty = {\n"
              "    };\n"
              "}");
    EXPECT_EQ(NSArray::array().description(), "(\n)");
    EXPECT_TRUE(NSArray().description().isNil());
    EXPECT_TRUE(NSDictionary().description().isNil());
}

}  // namespace
}  // namespace TWQuickTime
