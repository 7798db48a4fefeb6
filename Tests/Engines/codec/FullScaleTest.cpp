#include "Engines/codec/FullScale.h"

#include <gtest/gtest.h>

#include <limits>

namespace TWQuickTime::codec {
namespace {

TEST(FullScale, TouchesNothingBelowItAndStopsWhatIsBeyondAtIt) {
    EXPECT_EQ(withinFullScale(0.25f), 0.25f);
    EXPECT_EQ(withinFullScale(-1.0f), -1.0f);
    EXPECT_EQ(withinFullScale(1.5f), 1.0f);
    EXPECT_EQ(withinFullScale(-3e38f), -1.0f);
    EXPECT_EQ(withinFullScale(std::numeric_limits<float>::infinity()), 1.0f);
    EXPECT_EQ(withinFullScale(-std::numeric_limits<float>::infinity()), -1.0f);
}

TEST(FullScale, WhatIsNotANumberIsSilence) {
    EXPECT_EQ(withinFullScale(std::numeric_limits<float>::quiet_NaN()), 0.0f);
    EXPECT_EQ(withinFullScale(-std::numeric_limits<float>::quiet_NaN()), 0.0f);
}

}  // namespace
}  // namespace TWQuickTime::codec
