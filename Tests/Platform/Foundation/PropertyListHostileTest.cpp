// Files made to exhaust or confuse their reader. Each reads as none, within a second and with less
// memory than 32 times its size and 16 MiB.
#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <string>

#include "AllocationMeter.h"
#include "BinaryPropertyListBytes.h"
#include "NSData.h"
#include "PropertyList.h"
#include "TimeAllowance.h"

namespace TWQuickTime {
namespace {

using namespace std::string_literals;
using test::AllocationMeter;
using test::BinaryPropertyListBytes;

/// Reads and holds the bounds for any file, hostile or merely large.
PropertyListValue readWithinBounds(const std::string& file) {
    const NSData data = NSData::dataWithBytes(file.data(), file.size());
    const AllocationMeter meter;
    // The processor's time, so that what else the machine does is not counted.
    const std::clock_t start = std::clock();
    PropertyListValue value = propertyListFromData(data);
    const double seconds = double(std::clock() - start) / CLOCKS_PER_SEC;
    EXPECT_LT(meter.peakBytes(), 32 * file.size() + (16u << 20));
    EXPECT_LT(seconds, test::timeAllowance * 1.0);
    return value;
}

bool readsAsNone(const std::string& file) {
    return readWithinBounds(file).isNull();
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

std::string reference(std::uint64_t number, std::size_t size) {
    return BinaryPropertyListBytes::bigEndian(number, size);
}

/// A container's marker with a four-byte count.
std::string counted(char markerKind, std::uint32_t count) {
    return std::string(1, static_cast<char>(markerKind | 0x0F)) + "\x12" + reference(count, 4);
}

TEST(HostilePropertyList, XMLNestedAMillionLevelsDeepReadsAsNone) {
    EXPECT_TRUE(readsAsNone("<plist>" + repeated("<array>", 1000000)));
    EXPECT_TRUE(readsAsNone("<plist>" + repeated("<dict><key>a</key>", 1000000)));
    EXPECT_TRUE(
        readsAsNone("<plist>" + repeated("<array>", 513) + repeated("</array>", 513) + "</plist>"));
}

TEST(HostilePropertyList, BillionLaughsReadAsNone) {
    std::string file = "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY l0 \"lol\">";
    for (int i = 1; i < 10; ++i)
        file += "<!ENTITY l" + std::to_string(i) + " \"" +
                repeated("&l" + std::to_string(i - 1) + ";", 10) + "\">";
    EXPECT_TRUE(readsAsNone(file + "]><plist><string>&l9;</string></plist>"));
}

TEST(HostilePropertyList, AnEntityThatNamesAnotherFileReadsAsNone) {
    EXPECT_TRUE(
        readsAsNone("<!DOCTYPE plist [<!ENTITY passwords SYSTEM \"file:///etc/passwd\">]>"
                    "<plist><string>&passwords;</string></plist>"));
    EXPECT_TRUE(
        readsAsNone("<!DOCTYPE plist SYSTEM \"a.dtd\"><plist><string>&from;</string></plist>"));
}

TEST(HostilePropertyList, XMLCutShortAtAnyByteReadsAsNone) {
    const std::string whole =
        "<?xml version=\"1.0\"?><!DOCTYPE plist PUBLIC \"a\" \"b\"><plist version=\"1.0\"><dict>"
        "<key>a&amp;</key><array><string>x<![CDATA[y]]></string><data>AAAA</data></array>"
        "</dict><!-- c --></plist>";
    ASSERT_FALSE(readWithinBounds(whole).isNull());
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_TRUE(readsAsNone(whole.substr(0, length))) << length;
}

TEST(HostilePropertyList, LargeHonestXMLOfTinyElementsStaysWithinTheBounds) {
    for (const char* element :
         {"<true/>", "<dict/>", "<array/>", "<data/>", "<string/>", "<string>a</string>",
          "<data>AA==</data>", "<array><array/></array>", "<integer>1</integer>"})
        EXPECT_FALSE(
            readWithinBounds("<plist><array>" + repeated(element, 400000) + "</array></plist>")
                .isNull())
            << element;
}

TEST(HostilePropertyList, ADictionaryOfManyTinyEntriesStaysWithinTheBounds) {
    std::string file = "<plist><dict>";
    for (int i = 0; i < 200000; ++i)
        file += "<key>" + std::to_string(i) + "</key><true/>";
    EXPECT_EQ(readWithinBounds(file + "</dict></plist>").dictionaryValue().count(), 200000u);
}

TEST(HostilePropertyList, TooManyAttributesCommentsAndInstructionsTakeNoMemory) {
    std::string attributes;
    for (int i = 0; i < 300000; ++i)
        attributes += " a" + std::to_string(i) + "='x'";
    EXPECT_FALSE(readsAsNone("<plist" + attributes + "><true/></plist>"));
    EXPECT_FALSE(readsAsNone("<plist>" + repeated("<!---->", 500000) + "<true/></plist>"));
    EXPECT_TRUE(readsAsNone(repeated("<?x", 1000000)));
    EXPECT_TRUE(readsAsNone("<plist><string>" + repeated("&", 1000000)));
    EXPECT_TRUE(readsAsNone("<plist><string>" + repeated("<![CDATA[", 500000)));
}

TEST(HostilePropertyList, BinaryWithCyclesReadsAsNone) {
    BinaryPropertyListBytes itself;
    itself.object("\xA1\x00"s);
    EXPECT_TRUE(readsAsNone(itself.bytes()));

    BinaryPropertyListBytes circle;
    circle.object("\xD1\x01\x02"s);
    circle.object("\x51k"s);
    circle.object("\xA2\x01\x00"s);
    EXPECT_TRUE(readsAsNone(circle.bytes()));
}

TEST(HostilePropertyList, BinaryNestedTooDeepReadsAsNone) {
    for (const auto& [depth, isFine] : {std::pair{512, true}, {513, false}, {200000, false}}) {
        BinaryPropertyListBytes list;
        list.offsetSize = 4;
        list.referenceSize = 4;
        for (int i = 1; i < depth; ++i)
            list.object("\xA1"s + reference(static_cast<std::uint64_t>(i), 4));
        list.object("\xA0"s);
        EXPECT_EQ(readsAsNone(list.bytes()), !isFine) << depth;
    }
}

TEST(HostilePropertyList, SharedContainersThatExpandWithoutEndReadAsNone) {
    BinaryPropertyListBytes list;
    for (int i = 1; i <= 40; ++i)
        list.object("\xAA"s + std::string(10, static_cast<char>(i)));
    list.object("\x09"s);
    EXPECT_TRUE(readsAsNone(list.bytes()));
}

TEST(HostilePropertyList, SharedContainersThatExpandALittleAreRead) {
    BinaryPropertyListBytes list;
    list.object("\xA3\x01\x01\x01"s);
    list.object("\xA2\x02\x02"s);
    list.object("\x09"s);
    EXPECT_EQ(readWithinBounds(list.bytes()).arrayValue().objectAtIndex(2).arrayValue().count(),
              2u);
}

TEST(HostilePropertyList, ObjectsThatOverlapToMultiplyTheFileReadAsNone) {
    // 250 different objects, each the same array of 60,000 references to one value.
    BinaryPropertyListBytes list;
    list.object("\xAF\x10\xFA"s + [] {
        std::string references;
        for (int i = 0; i < 250; ++i)
            references += static_cast<char>(i + 1);
        return references;
    }());
    list.object(counted('\xA0', 60000) + std::string(60000, '\xFB'));
    for (int i = 2; i <= 250; ++i)
        list.objectAtOffsetOf(1);
    list.object("\x09"s);
    EXPECT_TRUE(readsAsNone(list.bytes()));
}

TEST(HostilePropertyList, GiantCountsReadAsNone) {
    for (const char kind : {'\x40', '\x50', '\x60', '\xA0', '\xD0'}) {
        BinaryPropertyListBytes many;
        many.object(counted(kind, 0xFFFFFFFF) + "abcd");
        EXPECT_TRUE(readsAsNone(many.bytes()));
        for (const std::uint64_t count :
             {~std::uint64_t{0}, std::uint64_t{1} << 32, std::uint64_t{1} << 63,
              (std::uint64_t{1} << 63) + 2, std::uint64_t{5}}) {
            BinaryPropertyListBytes wide;
            wide.object(std::string(1, static_cast<char>(kind | 0x0F)) + "\x13" +
                        reference(count, 8));
            EXPECT_TRUE(readsAsNone(wide.bytes())) << count;
        }
    }
}

TEST(HostilePropertyList, ATrailerThatContradictsTheFileReadsAsNone) {
    BinaryPropertyListBytes honest;
    honest.object("\xA1\x01"s);
    honest.object("\x09"s);
    const std::string file = honest.bytes();
    const std::size_t trailer = file.size() - 32;
    ASSERT_FALSE(readWithinBounds(file).isNull());
    const auto with = [&](std::size_t position, const std::string& bytes) {
        std::string changed = file;
        changed.replace(trailer + position, bytes.size(), bytes);
        return changed;
    };
    for (const char size : {'\0', '\5', '\x10', '\xFF'}) {
        EXPECT_TRUE(readsAsNone(with(6, std::string(1, size)))) << "offset size";
        EXPECT_TRUE(readsAsNone(with(7, std::string(1, size)))) << "reference size";
    }
    for (const std::uint64_t value :
         {std::uint64_t{3}, std::uint64_t{1} << 32, ~std::uint64_t{0}, std::uint64_t{1} << 61})
        EXPECT_TRUE(readsAsNone(with(8, reference(value, 8)))) << "object count " << value;
    EXPECT_TRUE(readsAsNone(with(8, reference(0, 8)))) << "no objects";
    EXPECT_TRUE(readsAsNone(with(16, reference(2, 8)))) << "top object";
    for (const std::uint64_t value :
         {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{file.size() - 32}, ~std::uint64_t{0},
          std::uint64_t{1} << 32})
        EXPECT_TRUE(readsAsNone(with(24, reference(value, 8)))) << "table position " << value;
}

TEST(HostilePropertyList, OffsetsAndReferencesThatLeadNowhereReadAsNone) {
    for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{7}, std::uint64_t{4096},
                                       std::uint64_t{1} << 32, ~std::uint64_t{0}}) {
        BinaryPropertyListBytes list;
        list.object("\xA1\x01"s);
        list.objectAtOffset(offset);
        EXPECT_TRUE(readsAsNone(list.bytes())) << offset;
    }
    BinaryPropertyListBytes list;
    list.object("\xA1\x02"s);
    list.object("\x09"s);
    EXPECT_TRUE(readsAsNone(list.bytes()));
}

TEST(HostilePropertyList, BinaryCutShortAtAnyByteReadsAsNone) {
    const NSDictionary value{{"a", NSArray({PropertyListValue(1), PropertyListValue("text")})}};
    const NSData data = dataFromPropertyList(value, PropertyListFormat::binary);
    const std::string whole(reinterpret_cast<const char*>(data.bytes().data()), data.length());
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_TRUE(readsAsNone(whole.substr(0, length))) << length;
}

TEST(HostilePropertyList, ManyTinyBinaryObjectsStayWithinTheBounds) {
    // One byte each, and one more for its reference: the densest honest files.
    BinaryPropertyListBytes references;
    references.object(counted('\xA0', 2000000) + std::string(2000000, '\x01'));
    references.object("\x09"s);
    EXPECT_FALSE(readsAsNone(references.bytes()));

    for (const std::string& object : {"\x50"s, "\x51z"s, "\x40"s, "\x41z"s, "\xA0"s, "\xD0"s,
                                      "\x10\x01"s, "\xA1\x00\x00\x01"s, "\xD1\0\0\2\0\0\1"s}) {
        constexpr std::uint32_t count = 300000;
        BinaryPropertyListBytes list;
        list.offsetSize = 3;
        list.referenceSize = 3;
        list.topObject = count;
        list.object(object);
        list.object("\x09"s);
        list.object("\x51k"s);
        for (std::uint32_t i = 3; i < count; ++i)
            list.object(object);
        std::string all = counted('\xA0', count - 3);
        for (std::uint32_t i = 3; i < count; ++i)
            all += reference(i, 3);
        list.object(all);
        readWithinBounds(list.bytes());
    }
}

TEST(HostilePropertyList, OffsetTablesOfNothingButTheSameOffsetStayWithinTheBounds) {
    for (const std::string& object : {"\x09"s, "\xA0"s, "\x51z"s}) {
        BinaryPropertyListBytes list;
        list.offsetSize = 1;
        list.referenceSize = 3;
        list.object(object);
        for (int i = 1; i < 500000; ++i)
            list.objectAtOffsetOf(0);
        readWithinBounds(list.bytes());
    }
}

TEST(HostilePropertyList, AHostileTextListReadsAsNone) {
    for (const std::string& text :
         {repeated("{a=", 1000000), repeated("(", 1000000), "\""s + repeated("\\", 999999),
          "/*"s + repeated("/*", 1000000), repeated("<", 1000000), repeated("\\U", 100000)})
        EXPECT_TRUE(
            propertyListFromOldStyleText(NSData::dataWithBytes(text.data(), text.size())).isNull());
}

}  // namespace
}  // namespace TWQuickTime
