#include "QTTime.h"

#include <gtest/gtest.h>

#include <cmath>

namespace TWQuickTime {
namespace {

constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

TEST(QTTime, IsTheSameMomentInDifferentScales) {
    EXPECT_EQ(QTTimeCompare(QTMakeTime(1, 25), QTMakeTime(2, 50)), NSOrderedSame);
    EXPECT_FALSE(QTMakeTime(1, 25) == QTMakeTime(2, 50));
}

TEST(QTTime, IsOrderedByMoment) {
    EXPECT_EQ(QTTimeCompare(QTMakeTime(1, 600), QTMakeTime(1, 599)), NSOrderedAscending);
    EXPECT_EQ(QTTimeCompare(QTMakeTime(-1, 600), QTMakeTime(-1, 599)), NSOrderedDescending);
}

TEST(QTTime, ComparesWithoutOverflow) {
    EXPECT_EQ(QTTimeCompare(QTMakeTime(kGreatest, 1), QTMakeTime(kGreatest - 1, 2000000000)),
              NSOrderedDescending);
}

TEST(QTTime, PutsTheIndefiniteTimeAfterEveryOther) {
    EXPECT_EQ(QTTimeCompare(QTIndefiniteTime, QTMakeTime(kGreatest, 1)), NSOrderedDescending);
    EXPECT_EQ(QTTimeCompare(QTMakeTime(kGreatest, 1), QTIndefiniteTime), NSOrderedAscending);
    EXPECT_EQ(QTTimeCompare(QTIndefiniteTime, QTIndefiniteTime), NSOrderedSame);
}

TEST(QTTime, CountsAsZeroWithoutAUsableScale) {
    EXPECT_EQ(QTTimeCompare(QTMakeTime(77, 0), QTZeroTime), NSOrderedSame);
    double seconds = 5;
    EXPECT_FALSE(QTGetTimeInterval(QTMakeTime(77, 0), &seconds));
    EXPECT_EQ(seconds, 0);
}

TEST(QTTime, IsMadeOfSecondsInMillionths) {
    EXPECT_EQ(QTMakeTimeWithTimeInterval(1.5), QTMakeTime(1500000, 1000000));
    EXPECT_EQ(QTMakeTimeWithTimeInterval(-0.0000005), QTMakeTime(-1, 1000000));
}

TEST(QTTime, IsMadeOfSecondsThatDoNotFit) {
    EXPECT_EQ(QTMakeTimeWithTimeInterval(1e300).timeValue, kGreatest);
    EXPECT_EQ(QTMakeTimeWithTimeInterval(-1e300).timeValue,
              std::numeric_limits<std::int64_t>::min());
    EXPECT_TRUE(QTTimeIsIndefinite(QTMakeTimeWithTimeInterval(std::nan(""))));
}

TEST(QTTime, GivesItsSeconds) {
    double seconds = 0;
    EXPECT_TRUE(QTGetTimeInterval(QTMakeTime(900, 600), &seconds));
    EXPECT_EQ(seconds, 1.5);
    EXPECT_TRUE(QTGetTimeInterval(QTZeroTime, nullptr));
    EXPECT_FALSE(QTGetTimeInterval(QTIndefiniteTime, &seconds));
}

TEST(QTTime, ScalesToTheNearestUnit) {
    EXPECT_EQ(QTMakeTimeScaled(QTMakeTime(1, 3), 10), QTMakeTime(3, 10));
    EXPECT_EQ(QTMakeTimeScaled(QTMakeTime(-1, 4), 10), QTMakeTime(-3, 10));
    EXPECT_EQ(QTMakeTimeScaled(QTMakeTime(kGreatest, 1), 600).timeValue, kGreatest);
    EXPECT_EQ(QTMakeTimeScaled(QTMakeTime(7, 3), 0), QTMakeTime(7, 3));
}

TEST(QTTime, AddsAndSubtractsInTheFinerScale) {
    EXPECT_EQ(QTTimeIncrement(QTMakeTime(1, 25), QTMakeTime(1, 50)), QTMakeTime(3, 50));
    EXPECT_EQ(QTTimeDecrement(QTMakeTime(1, 25), QTMakeTime(1, 50)), QTMakeTime(1, 50));
    EXPECT_TRUE(QTTimeIsIndefinite(QTTimeIncrement(QTIndefiniteTime, QTMakeTime(1, 50))));
    EXPECT_EQ(QTTimeIncrement(QTMakeTime(kGreatest, 1), QTMakeTime(1, 1)).timeValue, kGreatest);
}

}  // namespace
}  // namespace TWQuickTime
