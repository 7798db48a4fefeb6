#include "Engines/playback/GainRamp.h"

#include <gtest/gtest.h>

#include <vector>

namespace TWQuickTime::playback {
namespace {

TEST(GainRamp, LeavesSamplesAloneAtOne) {
    GainRamp ramp(4, 1.0f);
    std::vector<float> samples{0.1f, -0.3f, 1e-30f, 7.0f};
    const auto before = samples;
    ramp.apply(samples, 2);
    EXPECT_EQ(samples, before);
}

TEST(GainRamp, ReachesItsTargetInAStraightLine) {
    GainRamp ramp(4, 1.0f);
    ramp.setTarget(0.0f);
    std::vector<float> samples(6, 1.0f);
    ramp.apply(samples, 1);
    EXPECT_EQ(samples, (std::vector<float>{0.75f, 0.5f, 0.25f, 0.0f, 0.0f, 0.0f}));
}

TEST(GainRamp, TreatsAllChannelsOfAFrameAlike) {
    GainRamp ramp(2, 0.0f);
    ramp.setTarget(1.0f);
    std::vector<float> samples(6, 1.0f);
    ramp.apply(samples, 2);
    EXPECT_EQ(samples, (std::vector<float>{0.5f, 0.5f, 1.0f, 1.0f, 1.0f, 1.0f}));
}

TEST(GainRamp, GoesOnFromThePresentLevelWhenTheTargetChangesOnTheWay) {
    GainRamp ramp(4, 1.0f);
    ramp.setTarget(0.0f);
    std::vector<float> first(2, 1.0f);
    ramp.apply(first, 1);
    ramp.setTarget(1.0f);
    std::vector<float> second(5, 1.0f);
    ramp.apply(second, 1);
    EXPECT_EQ(second, (std::vector<float>{0.625f, 0.75f, 0.875f, 1.0f, 1.0f}));
}

TEST(GainRamp, TheSameTargetAgainDoesNotStretchTheRamp) {
    GainRamp ramp(2, 1.0f);
    std::vector<float> samples{1.0f};
    ramp.setTarget(0.0f);
    ramp.apply(samples, 1);
    ramp.setTarget(0.0f);
    samples = {1.0f};
    ramp.apply(samples, 1);
    EXPECT_EQ(samples.front(), 0.0f);
}

}  // namespace
}  // namespace TWQuickTime::playback
