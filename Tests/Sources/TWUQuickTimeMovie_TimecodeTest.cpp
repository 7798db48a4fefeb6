#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "TWUQuickTimeMovie.h"
#include "TimeAllowance.h"

namespace TWQuickTime {
namespace {

using TWU = TWUQuickTimeMovie;
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();

static_assert(TWU::timeCodeToFrame({1, 2, 3, 4}, 25) == 93079);
static_assert(TWU::frameToTimeCode(93079, 25) == TimeCodeTime{1, 2, 3, 4});

struct Parsed {
    OSErr status = 0;
    TimeCodeTime timeCode{};
    std::int32_t frame = 0;
};

Parsed parse(const NSString& text, std::int32_t rate) {
    Parsed parsed;
    parsed.status = TWU::timeCodeStringToTCT(text, rate, &parsed.timeCode, &parsed.frame);
    return parsed;
}

std::string text(std::int32_t frame, std::int32_t rate, bool addFrame, bool addHour) {
    return TWU::timeCodeStringForFrame(frame, rate, addFrame, addHour).utf8();
}

/// The timecode of every frame of a day, counted up by hand.
template <class Visit>
void forEveryFrameOfADay(int rate, Visit visit) {
    std::int32_t frame = 0;
    for (int h = 0; h < 24; ++h)
        for (int m = 0; m < 60; ++m)
            for (int s = 0; s < 60; ++s)
                for (int f = 0; f < rate; ++f)
                    visit(frame++, TimeCodeTime{std::uint8_t(h), std::uint8_t(m), std::uint8_t(s),
                                                std::uint8_t(f)});
}

class EveryFrameOfADay : public testing::TestWithParam<int> {};

TEST_P(EveryFrameOfADay, ConvertsBothWays) {
    int wrong = 0;
    forEveryFrameOfADay(GetParam(), [&](std::int32_t frame, TimeCodeTime timeCode) {
        wrong += TWU::frameToTimeCode(frame, GetParam()) != timeCode;
        wrong += TWU::timeCodeToFrame(timeCode, GetParam()) != frame;
    });
    EXPECT_EQ(wrong, 0);
}

TEST_P(EveryFrameOfADay, PrintsAndParsesBackToItself) {
    int wrong = 0;
    forEveryFrameOfADay(GetParam(), [&](std::int32_t frame, TimeCodeTime timeCode) {
        // Sanitized builds look at some frames of every second.
        if (test::isSanitized && frame % 31 != 0)
            return;
        const NSString printed = TWU::timeCodeStringForFrame(frame, GetParam(), true, true);
        const std::string& p = printed.utf8();
        const auto digits = [&p](std::size_t at) { return (p[at] - '0') * 10 + p[at + 1] - '0'; };
        wrong += p.size() != 11 || digits(0) != timeCode.hours || digits(3) != timeCode.minutes ||
                 digits(6) != timeCode.seconds || digits(9) != timeCode.frames;
        const Parsed parsed = parse(printed, GetParam());
        wrong += parsed.status != 0 || parsed.frame != frame || parsed.timeCode != timeCode;
    });
    EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(Rates, EveryFrameOfADay, testing::Values(24, 25, 30, 50, 60));

TEST(TimecodeArithmetic, CountsTheFramesOfATimecode) {
    EXPECT_EQ(TWU::timeCodeToFrame({1, 2, 3, 4}, 25), 93079);
    EXPECT_EQ(TWU::timeCodeToFrame({1, 2, 3, 4}, 0), 4);
}

TEST(TimecodeArithmetic, AddsFieldsBeyondTheirRange) {
    EXPECT_EQ(TWU::timeCodeToFrame({0, 0, 0, 30}, 25), 30);
    EXPECT_EQ(TWU::timeCodeToFrame({0, 60, 60, 0}, 25), 3660 * 25);
    EXPECT_EQ(TWU::timeCodeToFrame({255, 255, 255, 255}, 1), 255 * 3661 + 255);
}

TEST(TimecodeArithmetic, WrapsAt32Bits) {
    EXPECT_EQ(TWU::timeCodeToFrame({255, 0, 0, 0}, 10000),
              static_cast<std::int32_t>(255u * 3600u * 10000u));
    EXPECT_EQ(TWU::timeCodeToFrame({0, 0, 2, 5}, kLeast), 5);
    EXPECT_EQ(TWU::timeCodeToFrame({0, 0, 1, 0}, -25), -25);
}

TEST(TimecodeArithmetic, SplitsAFrameNumberIntoFields) {
    EXPECT_EQ(TWU::frameToTimeCode(93079, 25), (TimeCodeTime{1, 2, 3, 4}));
}

TEST(TimecodeArithmetic, KeepsHour24OfADay) {
    EXPECT_EQ(TWU::frameToTimeCode(24 * 3600 * 25, 25), (TimeCodeTime{24, 0, 0, 0}));
}

TEST(TimecodeArithmetic, WrapsHoursAt256) {
    EXPECT_EQ(TWU::frameToTimeCode(256 * 3600 * 25, 25), (TimeCodeTime{0, 0, 0, 0}));
    EXPECT_EQ(TWU::frameToTimeCode(257 * 3600 * 25, 25), (TimeCodeTime{1, 0, 0, 0}));
}

TEST(TimecodeArithmetic, GivesTheZeroRecordAtRate0) {
    EXPECT_EQ(TWU::frameToTimeCode(93079, 0), TimeCodeTime{});
    EXPECT_EQ(TWU::frameToTimeCode(kLeast, 0), TimeCodeTime{});
}

TEST(TimecodeArithmetic, GivesTwosComplementBytesForNegativeFramesOnPurpose) {
    EXPECT_EQ(TWU::frameToTimeCode(-1, 25), (TimeCodeTime{0, 0, 0, 255}));
    EXPECT_EQ(TWU::frameToTimeCode(-26, 25), (TimeCodeTime{0, 0, 255, 255}));
    EXPECT_EQ(TWU::frameToTimeCode(-25 * 3661, 25), (TimeCodeTime{255, 255, 255, 0}));
}

TEST(TimecodeArithmetic, SurvivesTheOneDivisionThatOverflows) {
    // 2^31 seconds: the quotient wraps to the least number, whose fields are taken from it.
    EXPECT_EQ(TWU::frameToTimeCode(kLeast, -1),
              (TimeCodeTime{std::uint8_t(kLeast / 3600), std::uint8_t(kLeast / 60 % 60),
                            std::uint8_t(kLeast % 60), 0}));
}

TEST(TimecodeArithmetic, KeepsTheLow8BitsOfFramesAtHighRates) {
    EXPECT_EQ(TWU::frameToTimeCode(299, 300), (TimeCodeTime{0, 0, 0, 43}));
}

TEST(TimecodeString, PrintsFrame0AtAnyRate) {
    for (const int rate : {1, 24, 25, 30, 60, 1000, -25}) {
        EXPECT_EQ(text(0, rate, false, false), "00:00");
        EXPECT_EQ(text(0, rate, true, true), "00:00:00:00");
    }
}

TEST(TimecodeString, HasFourForms) {
    EXPECT_EQ(text(93079, 25, false, false), "02:03");
    EXPECT_EQ(text(93079, 25, true, false), "02:03:04");
    EXPECT_EQ(text(93079, 25, false, true), "01:02:03");
    EXPECT_EQ(text(93079, 25, true, true), "01:02:03:04");
}

TEST(TimecodeString, PutsAMinusInFrontOfTheMagnitude) {
    EXPECT_EQ(text(-26, 25, true, false), "-00:01:01");
    EXPECT_EQ(text(26, 25, true, false), "00:01:01");
    EXPECT_EQ(text(-1, 25, false, false), "-00:00");
}

TEST(TimecodeString, WritesThreeDigitsOfHoursFrom100On) {
    EXPECT_EQ(text(100 * 3600 * 25, 25, false, true), "100:00:00");
    EXPECT_EQ(text(255 * 3600, 1, true, true), "255:00:00:00");
}

TEST(TimecodeString, WritesThreeDigitsOfFramesAtHighRates) {
    EXPECT_EQ(text(199, 200, true, false), "00:00:199");
}

TEST(TimecodeString, IsNilAtRate0) {
    EXPECT_TRUE(TWU::timeCodeStringForFrame(5, 0, true, true).isNil());
    EXPECT_TRUE(TWU::timeCodeStringForTimeCode({1, 2, 3, 4}, 0, true, true).isNil());
}

TEST(TimecodeString, CarriesFieldsOfARecordOver) {
    EXPECT_EQ(TWU::timeCodeStringForTimeCode({0, 0, 59, 30}, 25, true, false).utf8(), "01:00:05");
}

TEST(TimecodeString, PrintsTheLeastFrameWhoseMagnitudeWraps) {
    const TimeCodeTime wrapped = TWU::frameToTimeCode(kLeast, 25);
    const auto field = [](std::uint8_t value) {
        return (value < 10 ? "0" : "") + std::to_string(value);
    };
    EXPECT_EQ(text(kLeast, 25, true, true),
              "-" + field(wrapped.hours) + ":" + field(wrapped.minutes) + ":" +
                  field(wrapped.seconds) + ":" + field(wrapped.frames));
}

TEST(TimecodeString, HoldsTheLongestTextThereIs) {
    // Negative rates make all four fields wrap to three digits.
    EXPECT_EQ(TWU::frameToTimeCode(3661, -1), (TimeCodeTime{255, 255, 255, 0}));
    EXPECT_EQ(text(-7323, -2, true, true), "-255:255:255:01");
    EXPECT_EQ(text(-(3661 * 200 + 150), -200, true, true), "-255:255:255:150");
}

TEST(TimecodeParser, ReadsTheEmptyStringAsZero) {
    const Parsed parsed = parse("", 25);
    EXPECT_EQ(parsed.status, 0);
    EXPECT_EQ(parsed.timeCode, TimeCodeTime{});
    EXPECT_EQ(parsed.frame, 0);
}

TEST(TimecodeParser, FillsGroupsFromTheRight) {
    EXPECT_EQ(parse("12", 25).timeCode, (TimeCodeTime{0, 0, 0, 12}));
    EXPECT_EQ(parse("5:12", 25).timeCode, (TimeCodeTime{0, 0, 5, 12}));
    EXPECT_EQ(parse("3:05:12", 25).timeCode, (TimeCodeTime{0, 3, 5, 12}));
    EXPECT_EQ(parse("1:03:05:12", 25).timeCode, (TimeCodeTime{1, 3, 5, 12}));
    EXPECT_EQ(parse(":12", 25).timeCode, (TimeCodeTime{0, 0, 0, 12}));
    EXPECT_EQ(parse("12:", 25).timeCode, (TimeCodeTime{0, 0, 12, 0}));
}

TEST(TimecodeParser, CountsOnlyTheLastFourGroups) {
    EXPECT_EQ(parse("1:2:3:4:5", 25).timeCode, (TimeCodeTime{2, 3, 4, 5}));
}

TEST(TimecodeParser, TakesTheSignAnywhere) {
    for (const char* text : {"-1:00", "1-:00", "1:00-", "--1:0-0"}) {
        const Parsed parsed = parse(text, 25);
        EXPECT_EQ(parsed.status, 0) << text;
        EXPECT_EQ(parsed.timeCode, (TimeCodeTime{0, 0, 1, 0})) << text;
        EXPECT_EQ(parsed.frame, -25) << text;
    }
}

TEST(TimecodeParser, ClampsFieldsToTheirRange) {
    const Parsed parsed = parse("99:99:99:99", 25);
    EXPECT_EQ(parsed.timeCode, (TimeCodeTime{99, 59, 59, 24}));
    EXPECT_EQ(parsed.frame, 8999999);
    EXPECT_EQ(parse("300:00:00:00", 25).timeCode, (TimeCodeTime{255, 0, 0, 0}));
}

TEST(TimecodeParser, RefusesEveryOtherCharacterAndWritesNothing) {
    for (const char* text : {"01:02 03", "01;02", "01.02", "a", "1:2:3:4x", "+1"}) {
        TimeCodeTime timeCode{9, 9, 9, 9};
        std::int32_t frame = 77;
        EXPECT_EQ(TWU::timeCodeStringToTCT(text, 25, &timeCode, &frame), -1) << text;
        EXPECT_EQ(timeCode, (TimeCodeTime{9, 9, 9, 9})) << text;
        EXPECT_EQ(frame, 77) << text;
    }
}

TEST(TimecodeParser, RefusesNilAndWritesNothing) {
    TimeCodeTime timeCode{9, 9, 9, 9};
    std::int32_t frame = 77;
    EXPECT_EQ(TWU::timeCodeStringToTCT(nullptr, 25, &timeCode, &frame), -1);
    EXPECT_EQ(timeCode, (TimeCodeTime{9, 9, 9, 9}));
    EXPECT_EQ(frame, 77);
}

TEST(TimecodeParser, NeedsNoPlaceForItsResults) {
    TimeCodeTime timeCode;
    std::int32_t frame = 0;
    EXPECT_EQ(TWU::timeCodeStringToTCT("1:00", 25, nullptr, nullptr), 0);
    EXPECT_EQ(TWU::timeCodeStringToTCT("1:00", 25, &timeCode, nullptr), 0);
    EXPECT_EQ(TWU::timeCodeStringToTCT("1:00", 25, nullptr, &frame), 0);
    EXPECT_EQ(timeCode, (TimeCodeTime{0, 0, 1, 0}));
    EXPECT_EQ(frame, 25);
}

TEST(TimecodeParser, JudgesCharactersByTheirLow8BitsOnPurpose) {
    // U+0131 is a letter whose low byte is the digit 1, U+013A one whose low byte is the colon,
    // U+012D one whose low byte is the minus.
    const Parsed parsed = parse("\u012D\u0131\u013A\u0135", 25);
    EXPECT_EQ(parsed.status, 0);
    EXPECT_EQ(parsed.timeCode, (TimeCodeTime{0, 0, 1, 5}));
    EXPECT_EQ(parsed.frame, -30);
    EXPECT_EQ(parse("\u0141", 25).status, -1);
}

TEST(TimecodeParser, JudgesBothUnitsOfACharacterBeyond16Bits) {
    // U+1D7D1 is the pair D835 DFD1, U+1F431 the pair D83D DC31: only its second unit is a digit.
    EXPECT_EQ(parse("\U0001F431", 25).status, -1);
    // U+1CC35 is the pair D833 DC35: "3", then "5".
    EXPECT_EQ(parse("\U0001CC35", 60).timeCode, (TimeCodeTime{0, 0, 0, 35}));
}

TEST(TimecodeParser, RefusesBytesThatAreNoText) {
    EXPECT_EQ(parse("\xFF\x31", 25).status, -1);
}

TEST(TimecodeParser, LeavesMinusOneAtRate0OnPurpose) {
    const Parsed empty = parse("", 0);
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.timeCode, (TimeCodeTime{0, 0, 0, 255}));
    EXPECT_EQ(empty.frame, -1);
    EXPECT_EQ(parse("-", 0).frame, 1);
    EXPECT_EQ(parse("1:00", 0).frame, -1);
}

TEST(TimecodeParser, MapsACountThatWrappedBelowZeroToZero) {
    EXPECT_EQ(parse("2147483648", 25).timeCode, TimeCodeTime{});
    EXPECT_EQ(parse("4294967297:00", 25).timeCode, (TimeCodeTime{0, 0, 1, 0}));
    EXPECT_EQ(parse("3000000000:0:0:0", 25).timeCode, TimeCodeTime{});
}

TEST(TimecodeParser, CountsFramesAbove255InTheNumberButNotInTheRecord) {
    const Parsed parsed = parse("299", 300);
    EXPECT_EQ(parsed.timeCode, (TimeCodeTime{0, 0, 0, 43}));
    EXPECT_EQ(parsed.frame, 299);
    EXPECT_EQ(parse("5", kLeast).frame, 5);
    EXPECT_EQ(parse("5", kGreatest).frame, 5);
}

}  // namespace
}  // namespace TWQuickTime
