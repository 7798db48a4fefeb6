#include "Engines/timeline/TimeCode.h"

#include <gtest/gtest.h>

#include <array>

namespace TWQuickTime::timeline {
namespace {

TimeCodeFormat format(std::uint32_t framesPerSecond, std::uint32_t flags) {
    return {.flags = flags,
            .timeScale = framesPerSecond * 100,
            .frameDuration = 100,
            .framesPerSecond = framesPerSecond};
}

TimeCodeLabel label(std::uint32_t h, std::uint32_t m, std::uint32_t s, std::uint32_t f) {
    return {.negative = false, .hours = h, .minutes = m, .seconds = s, .frames = f};
}

/// Every label of a day in order, left-out ones passed over by their definition.
template <class Visit>
void forEveryLabelOfADay(std::uint32_t rate, std::uint32_t dropped, Visit visit) {
    std::int64_t frame = 0;
    for (std::uint32_t h = 0; h < 24; ++h)
        for (std::uint32_t m = 0; m < 60; ++m)
            for (std::uint32_t s = 0; s < 60; ++s)
                for (std::uint32_t f = 0; f < rate; ++f)
                    if (s != 0 || m % 10 == 0 || f >= dropped)
                        visit(frame++, label(h, m, s, f));
}

struct DayCase {
    std::uint32_t rate;
    std::uint32_t flags;
    std::uint32_t dropped;
};

class EveryLabelOfADay : public testing::TestWithParam<DayCase> {};

TEST_P(EveryLabelOfADay, ConvertsBothWays) {
    const auto [rate, flags, dropped] = GetParam();
    const TimeCodeFormat f = format(rate, flags);
    int wrong = 0;
    std::int64_t last = 0;
    forEveryLabelOfADay(rate, dropped, [&](std::int64_t frame, const TimeCodeLabel& l) {
        wrong += frameOfLabel(f, l) != frame;
        wrong += labelOfFrame(f, frame) != l;
        last = frame;
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(labelOfFrame(f, last + 1),
              (flags & kTimeCode24HourMax) ? label(0, 0, 0, 0) : label(24, 0, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(Rates, EveryLabelOfADay,
                         testing::Values(DayCase{24, 2, 0}, DayCase{25, 0, 0}, DayCase{30, 2, 0},
                                         DayCase{30, 3, 2}, DayCase{60, 3, 4}, DayCase{50, 3, 0},
                                         DayCase{25, 3, 0}, DayCase{120, 1, 8}));

TEST(TimeCode, HasTheKnownPointsOfDropFrameCounting) {
    const TimeCodeFormat f = format(30, kTimeCodeDropFrame);
    EXPECT_EQ(labelOfFrame(f, 1799), label(0, 0, 59, 29));
    EXPECT_EQ(labelOfFrame(f, 1800), label(0, 1, 0, 2));
    EXPECT_EQ(labelOfFrame(f, 17982), label(0, 10, 0, 0));
    EXPECT_EQ(labelOfFrame(f, 107892), label(1, 0, 0, 0));
    EXPECT_EQ(frameOfLabel(f, label(24, 0, 0, 0)), 2589408);
}

TEST(TimeCode, GivesALeftOutLabelTheFrameBeforeTheGap) {
    const TimeCodeFormat f = format(30, kTimeCodeDropFrame);
    const std::int64_t frame = frameOfLabel(f, label(0, 1, 0, 0));
    EXPECT_EQ(frame, 1798);
    EXPECT_EQ(labelOfFrame(f, frame), label(0, 0, 59, 28));
}

TEST(TimeCode, CountsEveryLabelAtRatesThatAreNoMultipleOf30) {
    EXPECT_FALSE(countsDropFrame(format(25, 3)));
    EXPECT_FALSE(countsDropFrame(format(24, 1)));
    EXPECT_TRUE(countsDropFrame(format(60, 1)));
    EXPECT_FALSE(countsDropFrame(format(30, 2)));
}

TEST(TimeCode, TurnsNegativeFramesIntoTheDayBeforeWhereSignsAreNotAllowed) {
    EXPECT_EQ(labelOfFrame(format(25, kTimeCode24HourMax), -1), label(23, 59, 59, 24));
    const TimeCodeLabel negative = labelOfFrame(format(25, kTimeCodeNegativeTimesOK), -25);
    EXPECT_EQ(negative, (TimeCodeLabel{true, 0, 0, 1, 0}));
    EXPECT_EQ(frameOfLabel(format(25, kTimeCodeNegativeTimesOK), negative), -25);
}

TEST(TimeCode, CountsWholeFramesOfMediaTime) {
    const TimeCodeFormat ntsc{
        .flags = 1, .timeScale = 30000, .frameDuration = 1001, .framesPerSecond = 30};
    EXPECT_EQ(framesInMediaTime(ntsc, 1000, 30000), 0);
    EXPECT_EQ(framesInMediaTime(ntsc, 1001, 30000), 1);
    EXPECT_EQ(framesInMediaTime(ntsc, 600 * 60, 600), 1798);
    EXPECT_EQ(framesInMediaTime(ntsc, -1, 600), -1);
    EXPECT_EQ(framesInMediaTime(ntsc, 5, 0), 0);
}

TEST(TimeCode, CountsByLabelsWithoutAFrameLength) {
    const TimeCodeFormat broken{.framesPerSecond = 25};
    EXPECT_EQ(framesInMediaTime(broken, 600, 600), 25);
    EXPECT_EQ(labelOfFrame(TimeCodeFormat{}, 77), TimeCodeLabel{});
}

TEST(TimeCode, ReadsDescriptionsOf34BytesAndMore) {
    std::array<std::byte, 54> bytes{};
    const unsigned char head[] = {0,   0,   0,    54,                      // size
                                  't', 'm', 'c',  'd',  0, 0, 0, 0, 0, 0,  // format, reserved
                                  0,   1,                                  // data reference index
                                  0,   0,   0,    0,                       // reserved
                                  0,   0,   0,    1,                       // flags: drop frame
                                  0,   0,   0x75, 0x30,                    // 30000 units per second
                                  0,   0,   0x03, 0xE9,                    // 1001 units a frame
                                  30,  0};                                 // labels in a second
    for (std::size_t i = 0; i < sizeof head; ++i)
        bytes[i] = std::byte{head[i]};
    const TimeCodeFormat expected{
        .flags = 1, .timeScale = 30000, .frameDuration = 1001, .framesPerSecond = 30};
    for (const std::size_t size : {34u, 36u, 38u, 46u, 54u})
        EXPECT_EQ(timeCodeFormatOfDescription(std::span(bytes).first(size)), expected) << size;
    EXPECT_FALSE(timeCodeFormatOfDescription(std::span(bytes).first(33)));
    bytes[4] = std::byte{'x'};
    EXPECT_FALSE(timeCodeFormatOfDescription(bytes));
}

}  // namespace
}  // namespace TWQuickTime::timeline
