#include <gtest/gtest.h>

#include <string>

#include "NSData.h"
#include "PropertyList.h"

namespace TWQuickTime {
namespace {

using Kind = PropertyListValue::Kind;

PropertyListValue read(const std::string& text) {
    return propertyListFromOldStyleText(NSData::dataWithBytes(text.data(), text.size()));
}

TEST(TextPropertyList, ReadsTheBareEntriesOfAStringsTable) {
    const NSDictionary table =
        read("/* greeting */\n\"hello\" = \"bonjour\";\n// end\nkey=value;").dictionaryValue();
    ASSERT_EQ(table.count(), 2u);
    EXPECT_EQ(table.objectForKey("hello").stringValue(), "bonjour");
    EXPECT_EQ(table.objectForKey("key").stringValue(), "value");
}

TEST(TextPropertyList, ResolvesTheEscapesOfQuotedText) {
    EXPECT_EQ(read(R"("a\n\t\r\"\\\'\101\U00e9\U00E9\Ud83d\Ude00")").stringValue().utf8(),
              "a\n\t\r\"\\'A\xC3\xA9\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(read("'single \"quotes\"'").stringValue(), "single \"quotes\"");
    EXPECT_EQ(read(R"("\7x\0478")").stringValue().utf8(), "\ax'8");
}

TEST(TextPropertyList, RefusesDamagedEscapes) {
    for (const char* bad : {R"("\Ud83d")", R"("\Ude00")", R"("\Ud83dx\Ude00")", R"("\U")",
                            R"("open)", "\"\\", R"("\Ud83d\n")"})
        EXPECT_TRUE(read(bad).isNull()) << bad;
}

TEST(TextPropertyList, ReadsNestedContainersAndData) {
    const NSDictionary list =
        read("{ list = (a, \"b c\", <0fA0 ff>, (), {}); path = /usr/bin/x.y-z; }")
            .dictionaryValue();
    const NSArray array = list.objectForKey("list").arrayValue();
    ASSERT_EQ(array.count(), 5u);
    EXPECT_EQ(array.objectAtIndex(2).dataValue(), NSData::dataWithBytes("\x0F\xA0\xFF", 3));
    EXPECT_EQ(array.objectAtIndex(4).kind(), Kind::dictionary);
    EXPECT_EQ(list.objectForKey("path").stringValue(), "/usr/bin/x.y-z");
}

TEST(TextPropertyList, ReadsUTF16WithAByteOrderMark) {
    const std::u16string wide = u"\uFEFF\"k\" = \"\u00FC\";";
    std::string little;
    std::string big;
    for (const char16_t unit : wide) {
        little += {static_cast<char>(unit), static_cast<char>(unit >> 8)};
        big += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
    }
    EXPECT_EQ(read(little).dictionaryValue().objectForKey("k").stringValue(), "\xC3\xBC");
    EXPECT_EQ(read(big).dictionaryValue().objectForKey("k").stringValue(), "\xC3\xBC");
    EXPECT_TRUE(read(big + "x").isNull()) << "half a unit at the end";
}

TEST(TextPropertyList, ReadsAnEmptyTableAndAKeyThatIsItsOwnValue) {
    EXPECT_EQ(read("/* nothing yet */").kind(), Kind::dictionary);
    EXPECT_EQ(read("\"same\";").dictionaryValue().objectForKey("same").stringValue(), "same");
    EXPECT_EQ(read("a = b; c = d").dictionaryValue().count(), 2u) << "no last semicolon";
}

TEST(TextPropertyList, RefusesDamagedText) {
    for (const char* bad : {"{", "}", "{a=}", "{a=b", "(a,", "(a b)", "<0>", "<0g>", "<00",
                            "a = b c = d;", "/* open", "= b;", "\xFF\xFE\xD8"})
        EXPECT_TRUE(read(bad).isNull()) << bad;
}

}  // namespace
}  // namespace TWQuickTime
