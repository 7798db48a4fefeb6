#include "NSString.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <unordered_set>
#include <vector>

namespace TWQuickTime {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(NSString, NilDiffersFromEmptyAndAnswersNeutrally) {
    const NSString nil, empty("");
    EXPECT_TRUE(nil.isNil());
    EXPECT_FALSE(empty.isNil());
    EXPECT_FALSE(nil == empty);
    EXPECT_EQ(nil, nullptr);
    EXPECT_EQ(NSString(static_cast<const char*>(nullptr)), nil);
    EXPECT_EQ(nil.utf8(), "");
    EXPECT_EQ(nil.length(), 0u);
    EXPECT_EQ(nil.characterAtIndex(0), 0);
    EXPECT_EQ(nil.intValue(), 0);
    EXPECT_EQ(nil.doubleValue(), 0.0);
    EXPECT_FALSE(nil.boolValue());
    EXPECT_TRUE(nil.stringByAppendingString("x").isNil());
    EXPECT_TRUE(nil.substringWithRange(0, 1).isNil());
    EXPECT_TRUE(nil.capitalizedString().isNil());
    EXPECT_TRUE(nil.lastPathComponent().isNil());
    EXPECT_TRUE(nil.stringByStandardizingPath().isNil());
    EXPECT_TRUE(nil.stringByExpandingTildeInPath().isNil());
    EXPECT_FALSE(nil.hasPrefix(""));
    EXPECT_FALSE(empty.hasPrefix(nil));
}

TEST(NSString, CountsUTF16UnitsSoThatACharacterBeyondTheBasicPlaneTakesTwo) {
    const NSString text("a€𝄞z");
    ASSERT_EQ(text.length(), 5u);
    EXPECT_EQ(text.characterAtIndex(0), u'a');
    EXPECT_EQ(text.characterAtIndex(1), 0x20AC);
    EXPECT_EQ(text.characterAtIndex(2), 0xD834);
    EXPECT_EQ(text.characterAtIndex(3), 0xDD1E);
    EXPECT_EQ(text.characterAtIndex(4), u'z');
    EXPECT_EQ(text.characterAtIndex(5), 0);
    EXPECT_EQ(text.utf16(), u"a€𝄞z");
}

TEST(NSString, KeepsEmbeddedNULCharacters) {
    const NSString text(std::string("a\0b", 3));
    EXPECT_EQ(text.length(), 3u);
    EXPECT_EQ(text.characterAtIndex(1), 0);
    EXPECT_EQ(text.characterAtIndex(2), u'b');
}

struct IllFormed {
    const char* reason;
    std::string bytes;
    std::u16string units;
};

TEST(NSString, EachIllFormedSequenceCountsAsOneReplacementCharacterAndTheBytesStay) {
    const std::vector<IllFormed> cases = {
        {"continuation byte alone", "a\x80z", u"a\uFFFDz"},
        {"two continuation bytes alone", "\x80\xBF", u"\uFFFD\uFFFD"},
        {"byte that never occurs", "a\xFFz", u"a\uFFFDz"},
        {"other byte that never occurs", "\xFE\xFE", u"\uFFFD\uFFFD"},
        {"overlong slash of two bytes", "\xC0\xAF", u"\uFFFD\uFFFD"},
        {"overlong form C1", "\xC1\xBF", u"\uFFFD\uFFFD"},
        {"overlong slash of three bytes", "\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
        {"overlong of four bytes", "\xF0\x80\x80\xAF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"beyond U+10FFFF", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"lead byte F5", "\xF5\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"two bytes cut short", "a\xC3", u"a\uFFFD"},
        {"three bytes cut short", "\xE2\x82", u"\uFFFD"},
        {"three bytes cut short by a letter", "\xE2\x82z", u"\uFFFDz"},
        {"four bytes cut short", "\xF0\x9D\x84", u"\uFFFD"},
        {"four bytes cut short by another character", "\xF0\x9D\xC3\xA4", u"\uFFFDä"},
        {"lead byte before a lead byte", "\xC3\xC3\xA4", u"\uFFFDä"},
    };
    for (const IllFormed& sample : cases) {
        const NSString text(sample.bytes);
        EXPECT_EQ(text.utf16(), sample.units) << sample.reason;
        EXPECT_EQ(text.length(), sample.units.size()) << sample.reason;
        EXPECT_EQ(text.utf8(), sample.bytes) << sample.reason;
    }
}

TEST(NSString, TheEdgesOfWellFormedUTF8AreAccepted) {
    EXPECT_EQ(NSString("\xC2\x80").utf16(), u"\u0080");
    EXPECT_EQ(NSString("\xDF\xBF").utf16(), u"\u07FF");
    EXPECT_EQ(NSString("\xE0\xA0\x80").utf16(), u"\u0800");
    EXPECT_EQ(NSString("\xED\x9F\xBF").utf16(), u"\uD7FF");
    EXPECT_EQ(NSString("\xEE\x80\x80").utf16(), u"\uE000");
    EXPECT_EQ(NSString("\xEF\xBF\xBF").utf16(), u"\uFFFF");
    EXPECT_EQ(NSString("\xF0\x90\x80\x80").utf16(), u"\U00010000");
    EXPECT_EQ(NSString("\xF4\x8F\xBF\xBF").utf16(), u"\U0010FFFF");
}

TEST(NSString, UTF16TextComesBackAsItWasAndLoneSurrogatesAreReplaced) {
    EXPECT_EQ(NSString::stringWithUTF16(u"aä€𝄞").utf8(), "aä€𝄞");
    const char16_t loneHigh[] = {u'a', 0xD834, u'b'};
    EXPECT_EQ(NSString::stringWithUTF16({loneHigh, 3}).utf8(),
              "a\xEF\xBF\xBD"
              "b");
    const char16_t loneLow[] = {0xDD1E};
    EXPECT_EQ(NSString::stringWithUTF16({loneLow, 1}).utf8(), "\xEF\xBF\xBD");
    const char16_t highAtEnd[] = {u'a', 0xD834};
    EXPECT_EQ(NSString::stringWithUTF16({highAtEnd, 2}).utf8(), "a\xEF\xBF\xBD");
}

TEST(NSString, SubstringsAreCutInUTF16Units) {
    const NSString text("aä𝄞z");
    EXPECT_EQ(text.substringWithRange(1, 1), "ä");
    EXPECT_EQ(text.substringWithRange(2, 2), "𝄞");
    EXPECT_EQ(text.substringWithRange(2, 1), "\xEF\xBF\xBD");
    EXPECT_EQ(text.substringWithRange(4, 100), "z");
    EXPECT_EQ(text.substringWithRange(100, 1), "");
    EXPECT_EQ(NSString("abc").substringWithRange(1, 1), "b");
}

TEST(NSString, PrefixesAndSuffixesAreCompared) {
    EXPECT_TRUE(NSString("movie.mov").hasPrefix("movie"));
    EXPECT_TRUE(NSString("movie.mov").hasSuffix(".mov"));
    EXPECT_FALSE(NSString("movie.mov").hasPrefix("Movie"));
    EXPECT_FALSE(NSString("mov").hasSuffix("movie.mov"));
}

TEST(NSString, WhiteSpaceIsTrimmedAtBothEnds) {
    EXPECT_EQ(NSString(" \t a b \r\n").stringByTrimmingWhitespace(), "a b");
    EXPECT_EQ(NSString("a").stringByTrimmingWhitespace(), "a");
    EXPECT_EQ(NSString(" \n").stringByTrimmingWhitespace(), "");
    EXPECT_TRUE(NSString().stringByTrimmingWhitespace().isNil());
}

TEST(NSString, ComparesByUTF16UnitsWithNilFirst) {
    EXPECT_TRUE(NSString().compare("") < 0);
    EXPECT_TRUE(NSString().compare(nullptr) == 0);
    EXPECT_TRUE(NSString("a").compare("b") < 0);
    EXPECT_TRUE(NSString("a").compare("ab") < 0);
    EXPECT_TRUE(NSString("ä").compare("z") > 0);
    // In UTF-16 a surrogate (D834) comes before U+FF21, in UTF-8 it is the other way round.
    EXPECT_TRUE(NSString("𝄞").compare("Ａ") < 0);
    EXPECT_TRUE(NSString("ä").compare("ä") == 0);
    EXPECT_TRUE(NSString("\xFF").compare("\xFE") != 0);
}

TEST(NSString, EqualStringsHashAlike) {
    const std::unordered_set<NSString> set = {"a", "ä", "a"};
    EXPECT_EQ(set.size(), 2u);
    EXPECT_EQ(set.count(NSString(std::string("ä"))), 1u);
}

TEST(NSString, IntegersAreReadFromTheStartAndLimitedToTheRange) {
    EXPECT_EQ(NSString("42").intValue(), 42);
    EXPECT_EQ(NSString(" \t\n-17 apples").intValue(), -17);
    EXPECT_EQ(NSString("+5").intValue(), 5);
    EXPECT_EQ(NSString("12.9").intValue(), 12);
    EXPECT_EQ(NSString("apples 3").intValue(), 0);
    EXPECT_EQ(NSString("- 3").intValue(), 0);
    EXPECT_EQ(NSString("0x10").intValue(), 0);
    EXPECT_EQ(NSString("2147483648").intValue(), 2147483647);
    EXPECT_EQ(NSString("-2147483649").intValue(), -2147483647 - 1);
    EXPECT_EQ(NSString("9223372036854775807").longLongValue(), INT64_MAX);
    EXPECT_EQ(NSString("9223372036854775808").longLongValue(), INT64_MAX);
    EXPECT_EQ(NSString("-9223372036854775808").longLongValue(), INT64_MIN);
    EXPECT_EQ(NSString("-99999999999999999999").longLongValue(), INT64_MIN);
}

TEST(NSString, RealsAreReadFromTheStartWithAPointWhateverTheLocale) {
    EXPECT_EQ(NSString("29.97 fps").doubleValue(), 29.97);
    EXPECT_EQ(NSString(" -.5e1x").doubleValue(), -5.0);
    EXPECT_EQ(NSString("3.").doubleValue(), 3.0);
    EXPECT_EQ(NSString("1e").doubleValue(), 1.0);
    EXPECT_EQ(NSString("1e+").doubleValue(), 1.0);
    EXPECT_EQ(NSString("1E+2").doubleValue(), 100.0);
    EXPECT_EQ(NSString("1,5").doubleValue(), 1.0);
    EXPECT_EQ(NSString(".").doubleValue(), 0.0);
    EXPECT_EQ(NSString("0x10").doubleValue(), 0.0);
    EXPECT_EQ(NSString("inf").doubleValue(), 0.0);
    EXPECT_EQ(NSString("nan").doubleValue(), 0.0);
    EXPECT_EQ(NSString("1e999").doubleValue(), infinity);
    EXPECT_EQ(NSString("-1e999").doubleValue(), -infinity);
    EXPECT_EQ(NSString("1e-999").doubleValue(), 0.0);
    EXPECT_EQ(NSString("0." + std::string(500, '0') + "1").doubleValue(), 0.0);
    EXPECT_EQ(NSString("1" + std::string(500, '0')).doubleValue(), infinity);
}

TEST(NSString, TruthIsALeadingYOrTOrANonZeroDigit) {
    for (const char* text : {"YES", "yes", "True", "t", "1", "  9", "-1", "+0007", "00002"})
        EXPECT_TRUE(NSString(text).boolValue()) << text;
    for (const char* text : {"", "NO", "false", "0", "-0", "x1", "000", "on"})
        EXPECT_FALSE(NSString(text).boolValue()) << text;
}

TEST(NSString, ThreadsThatAskForTheUTF16ViewTogetherGetTheSame) {
    const NSString text("ä𝄞" + std::string(1000, 'x'));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([text] {
            EXPECT_EQ(text.length(), 1003u);
            EXPECT_EQ(text.characterAtIndex(1), 0xD834);
        });
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
}  // namespace TWQuickTime
