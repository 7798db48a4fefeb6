#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "BinaryPropertyListBytes.h"
#include "NSData.h"
#include "PropertyList.h"

namespace TWQuickTime {
namespace {

using namespace std::string_literals;
using test::BinaryPropertyListBytes;
using Kind = PropertyListValue::Kind;

PropertyListValue readObject(const std::string& bytes) {
    BinaryPropertyListBytes list;
    list.object(bytes);
    return propertyListFromData(list.file());
}

/// The bytes of the single object of a written list.
std::string writtenObject(const PropertyListValue& value) {
    const NSData data = dataFromPropertyList(value, PropertyListFormat::binary);
    const std::string file(reinterpret_cast<const char*>(data.bytes().data()), data.length());
    return file.substr(8, file.size() - 8 - 1 - 32);
}

TEST(BinaryPropertyList, ReadsIntegersOfEveryWidth) {
    EXPECT_EQ(readObject("\x10\xFF"s).longLongValue(), 255);
    EXPECT_EQ(readObject("\x11\xFF\xFF"s).longLongValue(), 65535);
    EXPECT_EQ(readObject("\x12\xFF\xFF\xFF\xFF"s).longLongValue(), 4294967295);
    EXPECT_EQ(readObject("\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s).longLongValue(), -1);
    const std::string zeros(8, '\0');
    const PropertyListValue high = readObject("\x14"s + zeros + "\x80\0\0\0\0\0\0\0"s);
    EXPECT_EQ(high.kind(), Kind::integer);
    EXPECT_EQ(high.unsignedLongLongValue(), std::uint64_t{1} << 63);
    EXPECT_EQ(readObject("\x14"s + std::string(16, '\xFF')).longLongValue(), -1);
    EXPECT_TRUE(readObject("\x14\1"s + std::string(15, '\0')).isNull());
    EXPECT_TRUE(readObject("\x15"s + std::string(32, '\0')).isNull());
}

TEST(BinaryPropertyList, WritesEachIntegerInItsSmallestForm) {
    EXPECT_EQ(writtenObject(5), "\x10\5"s);
    EXPECT_EQ(writtenObject(256), "\x11\1\0"s);
    EXPECT_EQ(writtenObject(65536), "\x12\0\1\0\0"s);
    EXPECT_EQ(writtenObject(std::int64_t{1} << 32), "\x13\0\0\0\1\0\0\0\0"s);
    EXPECT_EQ(writtenObject(-1), "\x13"s + std::string(8, '\xFF'));
    EXPECT_EQ(writtenObject(std::numeric_limits<std::uint64_t>::max()),
              "\x14"s + std::string(8, '\0') + std::string(8, '\xFF'));
}

TEST(BinaryPropertyList, ReadsRealsDatesAndUIDs) {
    EXPECT_EQ(readObject("\x22\x3F\x80\0\0"s).doubleValue(), 1.0);
    EXPECT_EQ(readObject("\x23\x3F\xF8\0\0\0\0\0\0"s).doubleValue(), 1.5);
    EXPECT_EQ(readObject("\x22\x3F\x80\0\0"s).kind(), Kind::real);
    EXPECT_EQ(readObject("\x33\x3F\xF0\0\0\0\0\0\0"s).dateValue(), NSDate{1});
    EXPECT_EQ(readObject("\x81\x01\x02"s).uidValue(), PropertyListUID{258});
    EXPECT_TRUE(readObject("\x33\x7F\xF8\0\0\0\0\0\0"s).isNull()) << "a date that is no number";
}

TEST(BinaryPropertyList, ReadsTextInASCIIAndUTF16) {
    EXPECT_EQ(readObject("\x53"s + "abc").stringValue(), "abc");
    EXPECT_EQ(readObject("\x5F\x10\x0F"s + "123456789012345").stringValue(), "123456789012345");
    EXPECT_EQ(readObject("\x63\0\xE9\xD8\x3D\xDE\0"s).stringValue(), "\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_TRUE(readObject("\x51\xE9"s).isNull()) << "ASCII has no high bytes";
    EXPECT_TRUE(readObject("\x61\xD8\x3D"s).isNull()) << "half a surrogate pair";
}

TEST(BinaryPropertyList, WritesASCIITextInBytesAndOtherTextInUTF16) {
    EXPECT_EQ(writtenObject("abc"), "\x53"s + "abc");
    EXPECT_EQ(writtenObject("\xC3\xA9"), "\x61\0\xE9"s);
    EXPECT_EQ(writtenObject("\xF0\x9F\x98\x80"), "\x62\xD8\x3D\xDE\0"s);
}

TEST(BinaryPropertyList, RefusesNullsSetsAndUnknownMarkers) {
    for (const char* marker :
         {"\0", "\x01", "\x0F", "\x20", "\x34", "\x70", "\x90", "\xB0", "\xC0", "\xE0", "\xF0"})
        EXPECT_TRUE(readObject(std::string(marker, 1) + std::string(8, '\0')).isNull());
}

TEST(BinaryPropertyList, StoresEqualScalarsOnceButKeepsTheirKindsApart) {
    const NSArray list({PropertyListValue(1), PropertyListValue(1.0), PropertyListValue(true),
                        PropertyListValue("1"), PropertyListValue(1), PropertyListValue("1")});
    const NSData data = dataFromPropertyList(list, PropertyListFormat::binary);
    const std::size_t objectCount =
        std::to_integer<std::size_t>(data.bytes()[data.length() - 32 + 15]);
    EXPECT_EQ(objectCount, 5u) << "the array and four different scalars";
    const NSArray back = propertyListFromData(data).arrayValue();
    ASSERT_EQ(back.count(), 6u);
    EXPECT_EQ(back.objectAtIndex(0).kind(), Kind::integer);
    EXPECT_EQ(back.objectAtIndex(1).kind(), Kind::real);
    EXPECT_EQ(back.objectAtIndex(2).kind(), Kind::boolean);
    EXPECT_EQ(back.objectAtIndex(3).kind(), Kind::string);
}

TEST(BinaryPropertyList, ReadsReferencesAndOffsetsOfEveryWidth) {
    for (const std::size_t size : {1, 2, 4, 8}) {
        BinaryPropertyListBytes list;
        list.offsetSize = size;
        list.referenceSize = size;
        list.object("\xD1"s + BinaryPropertyListBytes::bigEndian(1, size) +
                    BinaryPropertyListBytes::bigEndian(2, size));
        list.object("\x51k"s);
        list.object("\x10\x07"s);
        EXPECT_EQ(propertyListFromData(list.file()).dictionaryValue().objectForKey("k").intValue(),
                  7);
    }
}

TEST(BinaryPropertyList, StartsAtTheTopObjectWhereverItStands) {
    BinaryPropertyListBytes list;
    list.topObject = 1;
    list.object("\x10\x01"s);
    list.object("\xA2\x00\x00"s);
    EXPECT_EQ(propertyListFromData(list.file()).arrayValue().count(), 2u);
}

TEST(BinaryPropertyList, RefusesADictionaryKeyThatIsNoString) {
    BinaryPropertyListBytes list;
    list.object("\xD1\x01\x01"s);
    list.object("\x10\x01"s);
    EXPECT_TRUE(propertyListFromData(list.file()).isNull());
}

TEST(BinaryPropertyList, WritesWhatItReadsForEveryKindOfValueAndManyObjects) {
    NSArray list = NSArray::array();
    for (int i = 0; i < 70000; ++i)
        list.addObject(i);
    const NSDictionary root{{"numbers", list},
                            {"text", "caf\xC3\xA9"},
                            {"long", NSString(std::string(100000, 'x'))},
                            {"real", 0.1},
                            {"no", false},
                            {"date", NSDate{-12345.678}},
                            {"uid", PropertyListUID{70000}},
                            {"data", NSData(std::vector<std::byte>(300, std::byte{7}))},
                            {"empty", NSDictionary::dictionary()}};
    const PropertyListValue back =
        propertyListFromData(dataFromPropertyList(root, PropertyListFormat::binary));
    EXPECT_TRUE(back == PropertyListValue(root));
    EXPECT_EQ(back.dictionaryValue().objectForKey("uid").kind(), Kind::uid);
}

TEST(BinaryPropertyList, WritesNothingForAValueThatItCannotHold) {
    EXPECT_TRUE(dataFromPropertyList(nullptr, PropertyListFormat::binary).isNil());
    EXPECT_TRUE(
        dataFromPropertyList(NSArray({PropertyListValue()}), PropertyListFormat::binary).isNil());
    const NSDate never{std::numeric_limits<double>::infinity()};
    EXPECT_TRUE(dataFromPropertyList(never, PropertyListFormat::binary).isNil());
}

}  // namespace
}  // namespace TWQuickTime
