#include <gtest/gtest.h>

#include "FourCharCodeText.h"
#include "SizeArgument.h"
#include "TimeArgument.h"

namespace twqt {
namespace {

using TWQuickTime::fourCC;

double secondsOf(const char* text) {
    const std::optional<TimeArgument> time = parseTime(text);
    return time ? time->seconds : -1.0;
}

TEST(TimeArgument, ReadsSeconds) {
    EXPECT_DOUBLE_EQ(secondsOf("12.5"), 12.5);
    EXPECT_DOUBLE_EQ(secondsOf("0"), 0.0);
    EXPECT_DOUBLE_EQ(secondsOf(".25"), 0.25);
}

TEST(TimeArgument, ReadsTimecodeAtAWholeRate) {
    EXPECT_DOUBLE_EQ(secondsOf("00:00:12:12@25"), 12.48);
    EXPECT_DOUBLE_EQ(secondsOf("01:02:03:00@24"), 3723.0);
}

TEST(TimeArgument, CountsWholeFramesOfABroadcastRate) {
    EXPECT_DOUBLE_EQ(secondsOf("00:00:01:00@29.97"), 1.001);
    EXPECT_DOUBLE_EQ(secondsOf("00:00:00:29@29.97"), 29 * 1001.0 / 30000.0);
    EXPECT_DOUBLE_EQ(secondsOf("00:00:01:00@23.976"), 1.001);
}

TEST(TimeArgument, RefusesWhatIsNeitherSecondsNorTimecode) {
    for (const char* text :
         {"", "-1", "+1", "1s", "nan", "inf", "1e999", "0x10", "00:00:12:12", "00:00:12@25",
          "00:00:12:25@25", "00:60:00:00@25", "00:00:60:00@25", "00:00:12:12@0", "00:00:12:12@",
          "00:00:12:12:@25", ":::@25", "00:00:12:12@1e9", "5@25"})
        EXPECT_FALSE(parseTime(text)) << text;
}

TEST(SizeArgument, ReadsWidthAndHeight) {
    const std::optional<SizeArgument> size = parseSize("1280x720");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->widthInPixels, 1280);
    EXPECT_EQ(size->heightInPixels, 720);
}

TEST(SizeArgument, RefusesWhatIsNoSize) {
    for (const char* text : {"", "x", "1280", "1280x", "x720", "0x720", "1280x0", "-1x720",
                             "1280x720x3", "32768x1", "1280 x 720", "12.5x3"})
        EXPECT_FALSE(parseSize(text)) << text;
}

TEST(FourCharCodeText, ReadsACodeAndFillsItWithBlanks) {
    EXPECT_EQ(parseFourCharCode("avc1"), fourCC("avc1"));
    EXPECT_EQ(parseFourCharCode("raw"), fourCC("raw "));
    EXPECT_EQ(parseFourCharCode("raw "), fourCC("raw "));
}

TEST(FourCharCodeText, ReadsTheCopyrightSignAsOneByte) {
    EXPECT_EQ(parseFourCharCode("©nam"), 0xa96e616du);
    EXPECT_EQ(fourCharCodeText(0xa96e616du), "©nam");
}

TEST(FourCharCodeText, RefusesEmptyLongAndForeignTexts) {
    for (const char* text : {"", "avc12", "日本", "\xff", "\xc2"})
        EXPECT_FALSE(parseFourCharCode(text)) << text;
}

TEST(FourCharCodeText, WritesControlCharactersAsNumbers) {
    EXPECT_EQ(fourCharCodeText(0x00016d73u), "\\x00\\x01ms");
}

}  // namespace
}  // namespace twqt
