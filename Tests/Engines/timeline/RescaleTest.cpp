#include "Engines/timeline/Rescale.h"

#include <gtest/gtest.h>

#include <limits>

namespace TWQuickTime::timeline {
namespace {

constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

TEST(Rescale, RoundsToTheNearestUnitWithHalvesAwayFromZero) {
    EXPECT_EQ(rescale(1001, 30000, 600), 20);
    EXPECT_EQ(rescale(1, 2, 1), 1);
    EXPECT_EQ(rescale(-1, 2, 1), -1);
    EXPECT_EQ(rescale(1, 3, 1), 0);
}

TEST(Rescale, RoundsDownAndUpBelowZeroToo) {
    EXPECT_EQ(rescaleDown(-1, 2, 1), -1);
    EXPECT_EQ(rescaleUp(-1, 2, 1), 0);
    EXPECT_EQ(rescaleDown(7, 2, 1), 3);
    EXPECT_EQ(rescaleUp(7, 2, 1), 4);
}

TEST(Rescale, AScaleOfZeroGivesZero) {
    EXPECT_EQ(rescale(5, 0, 600), 0);
    EXPECT_EQ(rescaleDown(5, 600, 0), 0);
}

TEST(Rescale, SaturatesInsteadOfWrappingAround) {
    EXPECT_EQ(rescale(kGreatest, 1, 90000), kGreatest);
    EXPECT_EQ(rescale(kLeast, 1, 90000), kLeast);
    EXPECT_EQ(addSaturating(kGreatest, 1), kGreatest);
    EXPECT_EQ(addSaturating(kLeast, -1), kLeast);
    EXPECT_EQ(multiplySaturating(kGreatest, -2), kLeast);
    EXPECT_EQ(multiplySaturating(kLeast, kLeast), kGreatest);
    EXPECT_EQ(subtractSaturating(0, kLeast), kGreatest);
    EXPECT_EQ(subtractSaturating(kLeast, 1), kLeast);
}

TEST(Rescale, IsExactWhereTheProductNeedsMoreThan64Bits) {
    EXPECT_EQ(rescale(kGreatest - 6, kGreatest, kGreatest), kGreatest - 6);
}

}  // namespace
}  // namespace TWQuickTime::timeline
