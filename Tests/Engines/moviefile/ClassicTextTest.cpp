#include "Engines/moviefile/ClassicText.h"

#include <gtest/gtest.h>

namespace TWQuickTime::moviefile {
namespace {

TEST(ClassicText, EachScriptIsReadInItsOwnEncoding) {
    EXPECT_EQ(fromClassicScript("Fl\x9Et", 0), "Fl\u00FBt");
    EXPECT_EQ(fromClassicScript("\x93\xFA\x96\x7B", 1), "\u65E5\u672C");
    EXPECT_EQ(fromClassicScript("\xA4\xA4\xA4\xE5", 2), "\u4E2D\u6587");
    EXPECT_EQ(fromClassicScript("\xC7\xD1", 3), "\uD55C");
    EXPECT_EQ(fromClassicScript("\x8C\xE8\xF0", 7), "\u041C\u0438\u0440");
    EXPECT_EQ(fromClassicScript("\xD6\xD0\xCE\xC4", 25), "\u4E2D\u6587");
    EXPECT_EQ(fromClassicScript("\x8D", 29), "\u0107");
}

TEST(ClassicText, LanguagesNameTheirScripts) {
    EXPECT_EQ(scriptOfClassicLanguage(0), 0u);
    EXPECT_EQ(scriptOfClassicLanguage(11), 1u);
    EXPECT_EQ(scriptOfClassicLanguage(19), 2u);
    EXPECT_EQ(scriptOfClassicLanguage(23), 3u);
    EXPECT_EQ(scriptOfClassicLanguage(32), 7u);
    EXPECT_EQ(scriptOfClassicLanguage(33), 25u);
    EXPECT_EQ(scriptOfClassicLanguage(38), 29u);
    EXPECT_EQ(scriptOfClassicLanguage(1000), 0u);
}

TEST(ClassicText, WhatIsNoCharacterBecomesAMarkAndTheRestIsRead) {
    EXPECT_EQ(fromClassicScript("a\xFF"
                                "b\x93",
                                1),
              "a\uFFFDb\uFFFD");
    EXPECT_EQ(fromClassicScript("a\x93"
                                "b",
                                4),
              "a\uFFFDb");
    EXPECT_EQ(fromClassicScript("", 1), "");
}

TEST(ClassicText, ALongTextIsReadWhole) {
    std::string bytes, expected;
    for (int i = 0; i < 5000; ++i) {
        bytes += "\x93\xFA";
        expected += "\u65E5";
    }
    EXPECT_EQ(fromClassicScript(bytes, 1), expected);
}

}  // namespace
}  // namespace TWQuickTime::moviefile
