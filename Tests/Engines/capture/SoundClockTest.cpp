#include "Engines/capture/SoundClock.h"

#include <gtest/gtest.h>

namespace TWQuickTime::capture {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr int kRate = 48000;

TEST(SoundClock, IsNotMovedByTimeStampsThatWaver) {
    SoundClock clock(kRate);
    for (int i = 0; i < 1000; ++i) {
        const std::int64_t waver = (i % 2 ? 1 : -1) * kSecond / 200;
        EXPECT_EQ(clock.framesLostBefore(i * (kSecond / 100) + waver), 0);
        clock.advance(kRate / 100);
    }
    EXPECT_NEAR(static_cast<double>(clock.correctionInNanoseconds()), -3e6, 2e6);
}

TEST(SoundClock, FollowsADeviceThatRunsSlow) {
    SoundClock clock(kRate);
    // A thousandth too slow: its seconds last 1.001 of the system's.
    constexpr int kPieces = 60 * 100;
    for (int i = 0; i < kPieces; ++i) {
        EXPECT_EQ(clock.framesLostBefore(i * (kSecond / 100 + kSecond / 100'000)), 0);
        clock.advance(kRate / 100);
    }
    // After a minute the sound is 60 ms behind; the smoothing lags by its ten seconds.
    EXPECT_NEAR(static_cast<double>(clock.correctionInNanoseconds()), -50e6, 3e6);
}

TEST(SoundClock, TellsHowMuchADeviceLost) {
    SoundClock clock(kRate);
    EXPECT_EQ(clock.framesLostBefore(7 * kSecond), 0);
    clock.advance(kRate);
    EXPECT_EQ(clock.framesLostBefore(8 * kSecond + kSecond / 2), kRate / 2);
    clock.advance(kRate / 2);
    EXPECT_EQ(clock.framesLostBefore(8 * kSecond + kSecond / 2), 0);
    EXPECT_EQ(clock.correctionInNanoseconds(), 0);
}

TEST(SoundClock, MakesGoodNoMoreThanTenSecondsAtATime) {
    SoundClock clock(kRate);
    EXPECT_EQ(clock.framesLostBefore(0), 0);
    EXPECT_EQ(clock.framesLostBefore(1'000'000 * kSecond), 10 * kRate);
}

}  // namespace
}  // namespace TWQuickTime::capture
