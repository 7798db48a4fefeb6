// The player with its decoding thread, and a device with a thread of its own that takes samples as
// fast as they come: what is right here does not depend on any timing.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>

#include "PlayerStage.h"

namespace TWQuickTime::playback {
namespace {

using test::frames;
using test::kRate;

constexpr auto kLongestTest = std::chrono::seconds(60);

/// What hasty devices got. Silence while sound is late is left out.
struct Recording {
    std::mutex mutex;
    std::condition_variable grew;
    std::vector<int> levels;
    std::atomic<bool> disappears = false;

    bool waitFor(std::size_t count) {
        std::unique_lock lock(mutex);
        return grew.wait_for(lock, kLongestTest, [&] { return levels.size() >= count; });
    }
    std::size_t size() {
        const std::lock_guard lock(mutex);
        return levels.size();
    }
};

class HastyDevice final : public OutputDevice {
  public:
    explicit HastyDevice(std::shared_ptr<Recording> recording)
        : recording_(std::move(recording)),
          state_(recording_->disappears ? DeviceState::gone : DeviceState::ready) {}
    ~HastyDevice() override {
        {
            const std::lock_guard lock(mutex_);
            quits_ = true;
        }
        changed_.notify_all();
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    std::string name() const override { return "hasty"; }
    void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) override {
        format_ = wanted;
        supply_ = &supply;
        thread_ = std::thread([this] { run(); });
    }
    DeviceState state() const override { return state_; }
    result::Status failure() const override { return {}; }
    codec::SoundFormat format() const override { return format_; }
    void start() override {
        const std::lock_guard lock(mutex_);
        runs_ = true;
        changed_.notify_all();
    }
    void stop() override {
        const std::lock_guard lock(mutex_);
        runs_ = false;
    }
    DeviceProgress progress() const override { return {taken_, taken_}; }

  private:
    void run() {
        std::vector<float> piece(64);
        std::vector<int> levels;
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return quits_ || runs_; });
            if (quits_) {
                return;
            }
            if (recording_->disappears) {
                state_ = DeviceState::gone;
                return;
            }
            supply_->supply(piece);
            taken_ += std::int64_t(piece.size());
            levels.clear();
            for (const float sample : piece) {
                if (sample != 0) {
                    levels.push_back(int(std::lround(sample * 32768)));
                }
            }
            lock.unlock();
            {
                const std::lock_guard recordingLock(recording_->mutex);
                recording_->levels.insert(recording_->levels.end(), levels.begin(), levels.end());
            }
            recording_->grew.notify_all();
            if (levels.empty()) {
                std::this_thread::yield();
            }
            lock.lock();
        }
    }

    std::shared_ptr<Recording> recording_;
    SoundSupply* supply_ = nullptr;
    codec::SoundFormat format_;
    std::atomic<DeviceState> state_;
    std::atomic<std::int64_t> taken_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool runs_ = false;
    bool quits_ = false;
    std::thread thread_;
};

class ThreadedPlayerTest : public test::PlayerStage {
  protected:
    ThreadedPlayerTest() {
        auto opened =
            SoundPlayer::open(movie_, {.devices = {{[recording = recording_] {
                                           return std::make_unique<HastyDevice>(recording);
                                       }}}});
        EXPECT_TRUE(opened);
        player_ = std::move(*opened);
    }

    /// Neighbours that do not follow each other.
    std::vector<std::pair<int, int>> jumps() {
        const std::lock_guard lock(recording_->mutex);
        std::vector<std::pair<int, int>> found;
        for (std::size_t i = 1; i < recording_->levels.size(); ++i) {
            const int before = recording_->levels[i - 1], now = recording_->levels[i];
            if (now != before + 1) {
                found.emplace_back(before - 1, now - 1);
            }
        }
        return found;
    }

    std::shared_ptr<Recording> recording_ = std::make_shared<Recording>();
};

TEST_F(ThreadedPlayerTest, PlaysAMovieToItsEndWithoutLosingASample) {
    player_->play();
    ASSERT_TRUE(recording_->waitFor(30000));
    while (!player_->reachedEnd()) {
        std::this_thread::yield();
    }
    EXPECT_EQ(recording_->size(), 30000u);
    EXPECT_TRUE(jumps().empty());
    EXPECT_EQ(player_->heardPosition().value, 30000);
}

TEST_F(ThreadedPlayerTest, LoopsLapAfterLap) {
    player_->setRange(frames(100), frames(1347));
    player_->setLoops(true);
    player_->play();
    ASSERT_TRUE(recording_->waitFor(50000));
    player_->stop();
    for (const auto& [from, to] : jumps()) {
        ASSERT_EQ(from, 1346);
        ASSERT_EQ(to, 100);
    }
}

TEST_F(ThreadedPlayerTest, AfterManyChangesOfTheRangeTheLastOneIsPlayed) {
    player_->setLoops(true);
    player_->play();
    std::mt19937 random(5);
    for (int i = 0; i < 60; ++i) {
        const int in = int(random() % 20000), length = 5 + int(random() % 9000);
        player_->setRange(frames(in), frames(in + length));
        ASSERT_TRUE(recording_->waitFor(recording_->size() + random() % 4000));
        const std::int64_t position = player_->heardPosition().value;
        ASSERT_GE(position, 0);
        ASSERT_LT(position, 30000);
    }
    player_->setRange(frames(700), frames(1234));
    while (player_->heardPosition().value < 700 || player_->heardPosition().value >= 1234) {
        std::this_thread::yield();
    }
    ASSERT_TRUE(recording_->waitFor(recording_->size() + 40000));
    player_->stop();
    const std::lock_guard lock(recording_->mutex);
    const auto& levels = recording_->levels;
    for (std::size_t i = levels.size() - 5000; i < levels.size(); ++i) {
        ASSERT_EQ(levels[i], levels[i - 1] == 1234 ? 701 : levels[i - 1] + 1);
    }
}

TEST_F(ThreadedPlayerTest, PositionsGoOnlyForwardBetweenSeeks) {
    std::mt19937 random(9);
    player_->play();
    for (int i = 0; i < 40; ++i) {
        const std::int64_t target = std::int64_t(random() % 25000);
        player_->seek(frames(target));
        std::int64_t before = target;
        const std::size_t enough = recording_->size() + 500;
        while (recording_->size() < enough && !player_->reachedEnd()) {
            const std::int64_t now = player_->heardPosition().value;
            ASSERT_GE(now, before);
            before = now;
        }
    }
}

TEST_F(ThreadedPlayerTest, StandsWhereItWasStoppedAndGoesOnFromThere) {
    player_->play();
    for (int i = 0; i < 25; ++i) {
        ASSERT_TRUE(recording_->waitFor(std::size_t(i) * 300));
        player_->stop();
        const std::int64_t stoodAt = player_->heardPosition().value;
        EXPECT_EQ(player_->heardPosition().value, stoodAt);
        player_->play();
        ASSERT_GE(player_->heardPosition().value, stoodAt);
    }
}

TEST_F(ThreadedPlayerTest, TimeRunsOnWhenTheDeviceDisappears) {
    player_->setLoops(true);
    player_->play();
    ASSERT_TRUE(recording_->waitFor(1000));
    recording_->disappears = true;
    while (player_->outputState() != OutputState::standIn) {
        std::this_thread::yield();
    }
    const std::int64_t from = player_->heardPosition().value;
    while (player_->heardPosition().value == from) {
        std::this_thread::yield();
    }
    recording_->disappears = false;
    const std::size_t silentUntil = recording_->size();
    ASSERT_TRUE(recording_->waitFor(silentUntil + 1));
}

TEST_F(ThreadedPlayerTest, GoesAtAnyMoment) {
    for (int i = 0; i < 30; ++i) {
        auto opened =
            SoundPlayer::open(movie_, {.devices = {{[recording = recording_] {
                                           return std::make_unique<HastyDevice>(recording);
                                       }}}});
        ASSERT_TRUE(opened);
        (*opened)->setLoops(true);
        if (i % 3 > 0) {
            (*opened)->play();
        }
        if (i % 3 > 1) {
            recording_->waitFor(recording_->size() + std::size_t(i) * 10);
        }
    }
}

}  // namespace
}  // namespace TWQuickTime::playback
