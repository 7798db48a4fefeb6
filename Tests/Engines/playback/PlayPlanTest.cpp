#include "Engines/playback/PlayPlan.h"

#include <gtest/gtest.h>

namespace TWQuickTime::playback {
namespace {

constexpr FrameRatio kOne{48000, 48000};

TEST(PlayPlan, RunsFromThePlayheadToTheOutPoint) {
    const auto plan = PlayPlan::from(150, {100, 200}, false, kOne);
    EXPECT_EQ(plan.length(), 50);
    EXPECT_EQ(plan.positionAt(0), 150);
    EXPECT_EQ(plan.positionAt(49), 199);
    EXPECT_EQ(plan.positionAt(50), 200);
    EXPECT_EQ(plan.positionAt(5000), 200);
}

TEST(PlayPlan, MovesAPlayheadInFrontOfTheRangeToItsBeginning) {
    EXPECT_EQ(PlayPlan::from(3, {100, 200}, false, kOne).positionAt(0), 100);
    EXPECT_EQ(PlayPlan::from(3, {100, 200}, true, kOne).positionAt(0), 100);
}

TEST(PlayPlan, IsAtItsEndAtOnceBehindTheRangeUnlessItLoops) {
    const auto once = PlayPlan::from(700, {100, 200}, false, kOne);
    EXPECT_EQ(once.length(), 0);
    EXPECT_EQ(once.positionAt(0), 200);
    EXPECT_EQ(PlayPlan::from(200, {100, 200}, false, kOne).length(), 0);
    EXPECT_EQ(PlayPlan::from(200, {100, 200}, true, kOne).positionAt(0), 100);
}

TEST(PlayPlan, LoopsWithoutLosingAFrame) {
    const auto plan = PlayPlan::from(195, {100, 200}, true, kOne);
    EXPECT_EQ(plan.length(), PlayPlan::kEndless);
    EXPECT_EQ(plan.positionAt(4), 199);
    EXPECT_EQ(plan.positionAt(5), 100);
    EXPECT_EQ(plan.positionAt(5 + 100 * 12345678901 + 7), 107);
}

TEST(PlayPlan, AnEmptyRangeIsAtItsEndEvenWhenItLoops) {
    for (const PlayRange range : {PlayRange{50, 50}, PlayRange{60, 50}}) {
        const auto plan = PlayPlan::from(0, range, true, kOne);
        EXPECT_EQ(plan.length(), 0);
        EXPECT_EQ(plan.positionAt(10), range.in);
    }
}

TEST(PlayPlan, ConvertsBetweenRatesWithoutDrift) {
    const FrameRatio ratio{44100, 48000};
    const auto plan = PlayPlan::from(0, {0, 44100 * 3600ll}, false, ratio);
    EXPECT_EQ(plan.length(), 48000 * 3600ll);
    EXPECT_EQ(plan.positionAt(48000 * 1800ll), 44100 * 1800ll);
}

TEST(FrameRatio, IsExactAtTheOrdinarySpeedAndFineAtOthers) {
    EXPECT_TRUE(FrameRatio::of(48000, 1.0, 48000).isOne());
    EXPECT_EQ(FrameRatio::of(44100, 1.0, 48000), (FrameRatio{44100, 48000}));
    for (const double speed : {0.01, 0.123457, 0.5, 0.999999, 2.0, 7.77, 99.9}) {
        const FrameRatio ratio = FrameRatio::of(44100, speed, 48000);
        EXPECT_NEAR(double(ratio.movieFrames) / double(ratio.outputFrames) * 48000 / 44100 / speed,
                    1.0, 2e-5)
            << speed;
    }
}

}  // namespace
}  // namespace TWQuickTime::playback
