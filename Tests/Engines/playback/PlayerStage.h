// A movie whose samples count upward, a hand-moved clock, a test device, and a player over them.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "Engines/playback/SoundPlayer.h"
#include "TestDevice.h"
#include "Tests/Engines/transcode/TestMovie.h"

namespace TWQuickTime::playback::test {

constexpr std::int64_t kRate = 48000;

/// 1, 2, 3 … so that silence is none of them: the level at frame n is n + 1.
inline std::vector<std::int16_t> countingLevels(int count) {
    std::vector<std::int16_t> levels;
    levels.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i) {
        levels.push_back(std::int16_t(i + 1));
    }
    return levels;
}

/// The levels of the frames [first, end).
inline std::vector<int> levelsOf(std::int64_t first, std::int64_t end) {
    std::vector<int> levels;
    levels.reserve(std::size_t(end - first));
    for (std::int64_t i = first; i < end; ++i) {
        levels.push_back(int(i) + 1);
    }
    return levels;
}

inline std::vector<int> joined(std::initializer_list<std::vector<int>> parts) {
    std::vector<int> all;
    for (const auto& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

inline Time frames(std::int64_t count) {
    return {count, kRate};
}

/// Nanoseconds in which so many frames pass, to the end of the last one.
inline std::int64_t nanosecondsOf(std::int64_t frameCount, std::int64_t rate = kRate) {
    return timeline::rescaleUp(frameCount, rate, 1'000'000'000);
}

class PlayerStage : public testing::Test {
  protected:
    PlayerStage() {
        movie_.timeScale = std::uint32_t(kRate);
        transcode::test::addLevels(movie_, countingLevels(30000), std::uint32_t(kRate));
    }

    SoundPlayer& player() {
        if (!player_) {
            auto opened = SoundPlayer::open(
                movie_,
                {.devices = lab_->choice(), .clock = clock_, .pumping = Pumping::byTheOwner});
            EXPECT_TRUE(opened);
            player_ = std::move(*opened);
        }
        return *player_;
    }
    std::int64_t position() { return player().heardPosition().value; }
    /// Lets so many frames pass since the last round number of them.
    void pass(std::int64_t frameCount) {
        passed_ += frameCount;
        clock_->advance(nanosecondsOf(passed_) - (clock_->nanoseconds() - began_));
        static_cast<void>(position());
    }
    /// pass() counts whole frames from here on.
    void play() {
        began_ = clock_->nanoseconds();
        passed_ = 0;
        player().play();
    }

    timeline::Movie movie_;
    std::shared_ptr<HandClock> clock_ = std::make_shared<HandClock>();
    std::shared_ptr<DeviceLab> lab_ = std::make_shared<DeviceLab>(clock_);
    std::unique_ptr<SoundPlayer> player_;
    std::int64_t began_ = clock_->nanoseconds();
    std::int64_t passed_ = 0;
};

}  // namespace TWQuickTime::playback::test
