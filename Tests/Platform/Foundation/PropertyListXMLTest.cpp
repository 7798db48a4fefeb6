#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "NSData.h"
#include "PropertyList.h"

namespace TWQuickTime {
namespace {

using namespace std::string_literals;
using Kind = PropertyListValue::Kind;

PropertyListValue read(const std::string& text) {
    return propertyListFromData(NSData::dataWithBytes(text.data(), text.size()));
}

/// The value of one element inside a whole document.
PropertyListValue readElement(const std::string& element) {
    return read("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + element +
                "</plist>\n");
}

std::string write(const PropertyListValue& value) {
    const NSData data = dataFromPropertyList(value, PropertyListFormat::xml);
    return std::string(reinterpret_cast<const char*>(data.bytes().data()), data.length());
}

TEST(XMLPropertyList, KeepsIntegerRealAndBoolApart) {
    EXPECT_EQ(readElement("<integer>1</integer>").kind(), Kind::integer);
    EXPECT_EQ(readElement("<real>1</real>").kind(), Kind::real);
    EXPECT_EQ(readElement("<true/>").kind(), Kind::boolean);
    EXPECT_EQ(readElement("<false></false>").kind(), Kind::boolean);
    EXPECT_FALSE(readElement("<false></false>").boolValue());
}

TEST(XMLPropertyList, ReadsIntegersOfTheWholeSignedAndUnsignedRange) {
    EXPECT_EQ(readElement("<integer>18446744073709551615</integer>").unsignedLongLongValue(),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(readElement("<integer>-9223372036854775808</integer>").longLongValue(),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(readElement("<integer> +7\n</integer>").longLongValue(), 7);
    EXPECT_TRUE(readElement("<integer>18446744073709551616</integer>").isNull());
    EXPECT_TRUE(readElement("<integer>-9223372036854775809</integer>").isNull());
    EXPECT_TRUE(readElement("<integer></integer>").isNull());
    EXPECT_TRUE(readElement("<integer>12x</integer>").isNull());
    EXPECT_TRUE(readElement("<integer>--1</integer>").isNull());
}

TEST(XMLPropertyList, ReadsHexadecimalIntegers) {
    EXPECT_EQ(readElement("<integer>0xDEADBEEF</integer>").longLongValue(), 0xDEADBEEFll);
    EXPECT_EQ(readElement("<integer>0Xff</integer>").longLongValue(), 255);
    EXPECT_EQ(readElement("<integer>-0x10</integer>").longLongValue(), -16);
    EXPECT_TRUE(readElement("<integer>0x</integer>").isNull());
}

TEST(XMLPropertyList, ReadsRealsIncludingTheOnesThatAreNoNumbers) {
    EXPECT_EQ(readElement("<real>1.6</real>").doubleValue(), 1.6);
    EXPECT_EQ(readElement("<real>-1e300</real>").doubleValue(), -1e300);
    EXPECT_EQ(readElement("<real>+infinity</real>").doubleValue(), HUGE_VAL);
    EXPECT_TRUE(std::isnan(readElement("<real>nan</real>").doubleValue()));
    EXPECT_TRUE(readElement("<real>1,5</real>").isNull());
    EXPECT_TRUE(readElement("<real/>").isNull());
}

TEST(XMLPropertyList, ResolvesReferencesCDATAAndCommentsInText) {
    EXPECT_EQ(readElement("<string>a &lt;&amp;&gt; &quot;&apos;&#65;&#x1F600;</string>")
                  .stringValue()
                  .utf8(),
              "a <&> \"'A\xF0\x9F\x98\x80");
    EXPECT_EQ(readElement("<string>x<![CDATA[<&]]>y<!-- no -->z<?p i?></string>").stringValue(),
              "x<&yz");
    EXPECT_EQ(readElement("<string>a\r\nb\rc&#13;d</string>").stringValue(), "a\nb\nc\rd");
    EXPECT_EQ(readElement("<string/>").stringValue(), "");
    EXPECT_EQ(readElement("<string>  kept  </string>").stringValue(), "  kept  ");
}

TEST(XMLPropertyList, AcceptsAByteOrderMarkAndAMissingDocumentType) {
    EXPECT_EQ(read("\xEF\xBB\xBF<plist><string>a</string></plist>").stringValue(), "a");
    EXPECT_EQ(read("<plist version='1.0'><string>a</string></plist>").stringValue(), "a");
    EXPECT_EQ(read("<string>a</string>").stringValue(), "a");
}

TEST(XMLPropertyList, SkipsAnExternalDocumentTypeCommentsAndInstructions) {
    EXPECT_EQ(read("<?xml version=\"1.0\"?><!-- c --><?pi ?>\n"
                   "<!DOCTYPE plist SYSTEM \"file://localhost/PropertyList.dtd\">\n"
                   "<!-- > --><plist><!--c--><array><!--c--><true/><?p?></array></plist><!--c-->\n")
                  .arrayValue()
                  .count(),
              1u);
}

TEST(XMLPropertyList, ReadsUTF16AndLatin1Documents) {
    const std::u16string wide =
        u"\uFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><string>"
        u"\u00E9\U0001F600</string></plist>";
    std::string little;
    std::string big;
    for (const char16_t unit : wide) {
        little += {static_cast<char>(unit), static_cast<char>(unit >> 8)};
        big += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
    }
    EXPECT_EQ(read(little).stringValue(), "\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(read(big).stringValue(), "\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(read(big.substr(2)).stringValue(), "\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(
        read("<?xml version='1.0' encoding='ISO-8859-1'?><plist><string>\xE9</string></plist>")
            .stringValue(),
        "\xC3\xA9");
    EXPECT_TRUE(
        read("<?xml version='1.0' encoding='KOI8-R'?><plist><string>a</string></plist>").isNull());
}

TEST(XMLPropertyList, ReadsDataWithWhiteSpaceAndRefusesBadBase64) {
    const NSData data = readElement("<data>\n\tAAEC\n\tAw==\n</data>").dataValue();
    EXPECT_EQ(data, NSData::dataWithBytes("\0\1\2\3", 4));
    EXPECT_EQ(readElement("<data></data>").kind(), Kind::data);
    for (const char* bad : {"A", "AA", "AAA", "AAAA=", "AA=A", "AA==AA==", "A===", "AA*A", "===="})
        EXPECT_TRUE(readElement("<data>"s + bad + "</data>").isNull()) << bad;
}

TEST(XMLPropertyList, ReadsDatesAsSecondsSinceTheReferenceDate) {
    const auto seconds = [](const std::string& text) {
        return readElement("<date>" + text + "</date>").dateValue().secondsSinceReferenceDate;
    };
    EXPECT_EQ(seconds("2001-01-01T00:00:00Z"), 0);
    EXPECT_EQ(seconds("2000-12-31T23:59:59Z"), -1);
    EXPECT_EQ(seconds("1970-01-01T00:00:00Z"), -978307200);
    EXPECT_EQ(seconds("2024-02-29T12:34:56Z"), 730902896);
    EXPECT_EQ(seconds("0001-01-01T00:00:00Z"), -63113904000);
}

TEST(XMLPropertyList, RefusesDatesThatDoNotExist) {
    for (const char* bad :
         {"2023-02-29T00:00:00Z", "1900-02-29T00:00:00Z", "2023-13-01T00:00:00Z",
          "2023-00-01T00:00:00Z", "2023-04-31T00:00:00Z", "2023-01-01T24:00:00Z",
          "2023-01-01T00:60:00Z", "2023-01-01T00:00:60Z", "2023-01-01", "2023-01-01T00:00:00",
          "2023-01-01T00:00:00.5Z", "23-01-01T00:00:00Z", "99999999999-01-01T00:00:00Z", ""})
        EXPECT_TRUE(readElement("<date>"s + bad + "</date>").isNull()) << bad;
}

TEST(XMLPropertyList, KeepsTheLastOfEqualKeysAtTheFirstOnesPlace) {
    const NSDictionary dictionary =
        readElement(
            "<dict><key>a</key><integer>1</integer><key>b</key><integer>2</integer>"
            "<key>a</key><integer>3</integer></dict>")
            .dictionaryValue();
    ASSERT_EQ(dictionary.count(), 2u);
    EXPECT_EQ(dictionary.begin()->first, "a");
    EXPECT_EQ(dictionary.objectForKey("a").longLongValue(), 3);
}

TEST(XMLPropertyList, RefusesADictionaryWhoseKeysAndValuesDoNotAlternate) {
    for (const char* bad :
         {"<dict><key>a</key></dict>", "<dict><true/></dict>",
          "<dict><key>a</key><key>b</key></dict>", "<dict><key>a</key><true/><true/></dict>",
          "<array><key>a</key></array>", "<key>a</key>"})
        EXPECT_TRUE(readElement(bad).isNull()) << bad;
}

TEST(XMLPropertyList, RefusesDocumentsThatAreNotWellFormed) {
    for (const char* bad : {"",
                            " ",
                            "<",
                            "<plist>",
                            "<plist/>",
                            "<plist></plist>",
                            "<plist><true/>",
                            "<plist><true/><true/></plist>",
                            "<plist><true/></plist>x",
                            "<plist><true/></list>",
                            "<plist><array></dict></plist>",
                            "<plist><string>a</integer></plist>",
                            "<plist><string>a</strings></plist>",
                            "<plist><unknown/></plist>",
                            "<plist>text<true/></plist>",
                            "<plist><true>x</true></plist>",
                            "<plist a=b><true/></plist>",
                            "<plist a='1><true/></plist>",
                            "<plist><true / ></plist>",
                            "<plist><string>&unknown;</string></plist>",
                            "<plist><string>&#0;</string></plist>",
                            "<plist><string>&#xD800;</string></plist>",
                            "<plist><string>&#x110000;</string></plist>",
                            "<plist><string>&amp</string></plist>",
                            "<plist><string><b/></string></plist>",
                            "<plist><!-- a -- b --><true/></plist>",
                            "<plist><string><![CDATA[x]]</string></plist>",
                            "<plist><plist><true/></plist></plist>",
                            "hello",
                            "{ a = b; }"})
        EXPECT_TRUE(read(bad).isNull()) << bad;
}

TEST(XMLPropertyList, RefusesInvalidUTF8AndCharactersThatXMLForbids) {
    EXPECT_TRUE(readElement("<string>\xC3</string>").isNull());
    EXPECT_TRUE(readElement("<string>\xED\xA0\x80</string>").isNull());
    EXPECT_TRUE(readElement("<string>\xC0\x80</string>").isNull());
    EXPECT_TRUE(readElement("<string>\xF4\x90\x80\x80</string>").isNull());
    EXPECT_TRUE(readElement("<string>\x01</string>").isNull());
    EXPECT_TRUE(readElement("<string>\xEF\xBF\xBF</string>").isNull());
    EXPECT_EQ(readElement("<string>\xEF\xBF\xBD</string>").stringValue(), "\xEF\xBF\xBD");
}

TEST(XMLPropertyList, WritesTheFormThatOtherProgramsWrite) {
    const NSDictionary list{{"Name", "A <&> B"},
                            {"List", NSArray({PropertyListValue(1), PropertyListValue(2.5)})},
                            {"Empty", NSArray::array()},
                            {"None", NSDictionary::dictionary()},
                            {"Yes", true},
                            {"Data", NSData::dataWithBytes("\0\1\2\3", 4)},
                            {"Date", NSDate{0}}};
    EXPECT_EQ(write(list),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
              "<plist version=\"1.0\">\n"
              "<dict>\n"
              "\t<key>Name</key>\n"
              "\t<string>A &lt;&amp;&gt; B</string>\n"
              "\t<key>List</key>\n"
              "\t<array>\n"
              "\t\t<integer>1</integer>\n"
              "\t\t<real>2.5</real>\n"
              "\t</array>\n"
              "\t<key>Empty</key>\n"
              "\t<array/>\n"
              "\t<key>None</key>\n"
              "\t<dict/>\n"
              "\t<key>Yes</key>\n"
              "\t<true/>\n"
              "\t<key>Data</key>\n"
              "\t<data>\n"
              "\tAAECAw==\n"
              "\t</data>\n"
              "\t<key>Date</key>\n"
              "\t<date>2001-01-01T00:00:00Z</date>\n"
              "</dict>\n"
              "</plist>\n");
}

TEST(XMLPropertyList, WritesNothingForAValueThatXMLCannotHold) {
    EXPECT_EQ(write(nullptr), "");
    EXPECT_EQ(write(NSArray({PropertyListValue()})), "");
    EXPECT_EQ(write(NSString("\x01")), "");
    EXPECT_EQ(write(NSDate{std::numeric_limits<double>::quiet_NaN()}), "");
    EXPECT_EQ(write(NSDate{1e30}), "");
}

TEST(XMLPropertyList, WritesIllFormedTextAsReplacementCharacters) {
    const std::string text = write(NSString("a\xFFz"));
    EXPECT_NE(text.find("<string>a\xEF\xBF\xBDz</string>"), std::string::npos);
}

TEST(XMLPropertyList, WritesNestingThatItReadsAndRefusesOneLevelMore) {
    PropertyListValue value = true;
    for (int i = 0; i < 512; ++i)
        value = NSArray({value});
    const NSData deepest = dataFromPropertyList(value, PropertyListFormat::xml);
    ASSERT_TRUE(deepest);
    EXPECT_TRUE(propertyListFromData(deepest) == value);
    EXPECT_TRUE(dataFromPropertyList(NSArray({value}), PropertyListFormat::xml).isNil());
}

}  // namespace
}  // namespace TWQuickTime
