// A real sound server without hardware: what is played there is recorded there.
#include "Engines/playback/PulseDevice.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "Engines/playback/SoundPlayer.h"
#include "PlayerStage.h"
#include "PulseServer.h"
#include "RunProgram.h"

namespace TWQuickTime::playback {
namespace {

using namespace std::chrono_literals;
using test::frames;
using test::kRate;
using TWQuickTime::test::PulseServer;

constexpr const char* kNullSink = "module-null-sink sink_name=null rate=48000 norewinds=1";
constexpr auto kLongest = 20s;

class PulseDeviceTest : public test::PlayerStage {
  protected:
    void SetUp() override {
        if (!PulseServer::isInstalled()) {
            GTEST_SKIP() << "pulseaudio is not installed";
        }
        server_ = std::make_unique<PulseServer>(std::vector<std::string>{kNullSink});
    }

    // The server gives the environment back, which no thread may look at then.
    void TearDown() override { player_.reset(); }

    void open(DeviceChoice choice) {
        auto opened = SoundPlayer::open(movie_, {.devices = std::move(choice)});
        ASSERT_TRUE(opened);
        player_ = std::move(*opened);
    }
    template <class Condition>
    bool waitUntil(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + kLongest;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }

    std::unique_ptr<PulseServer> server_;
};

TEST_F(PulseDeviceTest, WhatIsPlayedArrivesSampleForSample) {
    TWQuickTime::test::TemporaryDirectory folder;
    const std::string path = folder.file("recorded");
    // Records until enough has come, and is read here at the end.
    std::thread recorder([&] {
        TWQuickTime::test::runProgram({"timeout", "6", "parec", "--device=null.monitor",
                                       "--format=float32le", "--rate=48000", "--channels=1",
                                       "--latency-msec=20", path});
    });
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(path); }));
    ASSERT_TRUE(waitUntil([&] {
        return server_->control({"list", "short", "source-outputs"}).size() > 0;
    }));
    open(DeviceChoice::named("null", Clock::steady()));
    player_->play();
    EXPECT_TRUE(waitUntil([&] { return player_->reachedEnd(); }));
    EXPECT_EQ(player_->outputState(), OutputState::playing);
    EXPECT_EQ(player_->outputName(), "null");
    recorder.join();

    std::ifstream file(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    std::vector<float> recorded(bytes.size() / sizeof(float));
    std::memcpy(recorded.data(), bytes.data(), recorded.size() * sizeof(float));
    const auto first = std::ranges::find_if(recorded, [](float sample) { return sample != 0; });
    ASSERT_GE(recorded.end() - first, 30000);
    for (int i = 0; i < 30000; ++i) {
        ASSERT_EQ(std::lround(first[i] * 32768), i + 1) << i;
    }
}

TEST_F(PulseDeviceTest, PositionsFollowRealTime) {
    open(DeviceChoice::named("pulse", Clock::steady()));
    player_->setLoops(true);
    player_->setRange(frames(0), frames(30000));
    player_->play();
    ASSERT_TRUE(waitUntil([&] { return player_->heardPosition().value > 4800; }));
    const auto begin = std::chrono::steady_clock::now();
    std::int64_t laps = 0, before = player_->heardPosition().value;
    const std::int64_t from = before;
    while (std::chrono::steady_clock::now() - begin < 1500ms) {
        const std::int64_t now = player_->heardPosition().value;
        laps += now < before - 15000;
        ASSERT_TRUE(now >= before || now < before - 15000) << before << " to " << now;
        before = now;
        std::this_thread::sleep_for(1ms);
    }
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
    const double heard = double(before + laps * 30000 - from) / double(kRate);
    EXPECT_NEAR(heard, passed.count(), 0.05);
}

TEST_F(PulseDeviceTest, StopsAndGoesOnWhereItWas) {
    open(DeviceChoice::named("pulse", Clock::steady()));
    player_->setLoops(true);
    player_->play();
    for (int i = 0; i < 5; ++i) {
        const std::int64_t before = player_->heardPosition().value;
        ASSERT_TRUE(
            waitUntil([&] { return player_->heardPosition().value > before + 2400 || i == 4; }));
        player_->stop();
        const std::int64_t stood = player_->heardPosition().value;
        std::this_thread::sleep_for(20ms);
        EXPECT_EQ(player_->heardPosition().value, stood);
        player_->play();
        EXPECT_GE(player_->heardPosition().value, stood);
        EXPECT_LT(player_->heardPosition().value, stood + 2400);
    }
}

TEST_F(PulseDeviceTest, TimeRunsOnWhenTheSinkDisappearsAndSoundComesBackWithAnother) {
    open(DeviceChoice::named("pulse", Clock::steady()));
    player_->setLoops(true);
    player_->play();
    ASSERT_TRUE(waitUntil([&] { return player_->outputState() == OutputState::playing; }));
    server_->control({"unload-module", "module-null-sink"});
    ASSERT_TRUE(waitUntil([&] { return player_->outputState() == OutputState::standIn; }));
    EXPECT_FALSE(player_->outputFailure().ok());
    const std::int64_t from = player_->heardPosition().value;
    ASSERT_TRUE(waitUntil([&] { return player_->heardPosition().value != from; }));
    server_->control({"load-module", "module-null-sink", "sink_name=other", "norewinds=1"});
    ASSERT_TRUE(waitUntil([&] { return player_->outputState() == OutputState::playing; }));
    EXPECT_EQ(player_->outputName(), "other");
}

TEST_F(PulseDeviceTest, TimeRunsOnWhenTheServerEnds) {
    open(DeviceChoice::named("pulse", Clock::steady()));
    player_->setLoops(true);
    player_->play();
    ASSERT_TRUE(waitUntil([&] { return player_->outputState() == OutputState::playing; }));
    server_->stop();
    ASSERT_TRUE(waitUntil([&] { return player_->outputState() == OutputState::standIn; }));
    EXPECT_FALSE(player_->outputFailure().ok());
    const std::int64_t from = player_->heardPosition().value;
    ASSERT_TRUE(waitUntil([&] { return player_->heardPosition().value != from; }));
}

TEST_F(PulseDeviceTest, ASinkThatIsNotThereIsAFailure) {
    open(DeviceChoice::named("no such sink", Clock::steady()));
    player_->play();
    ASSERT_TRUE(waitUntil([&] { return player_->outputState() == OutputState::standIn; }));
    EXPECT_EQ(player_->outputFailure().failure().kind, result::FailureKind::notAvailable);
}

TEST_F(PulseDeviceTest, ListsTheSinksOfTheServer) {
    const auto devices = listOutputDevices();
    EXPECT_TRUE(std::ranges::any_of(devices, [](const auto& d) { return d.name == "null"; }));
    EXPECT_EQ(devices.back().name, "silent");
}

TEST(PulseDeviceWithoutServer, NobodyThereIsAFailureAtOnce) {
    TWQuickTime::test::TemporaryDirectory folder;
    TWQuickTime::test::EnvironmentVariables environment;
    environment.set("PULSE_SERVER", "unix:" + folder.file("nobody"));
    timeline::Movie movie;
    auto opened =
        SoundPlayer::open(movie, {.devices = DeviceChoice::named("pulse", Clock::steady())});
    ASSERT_TRUE(opened);
    (*opened)->play();
    while ((*opened)->outputState() != OutputState::standIn) {
        std::this_thread::yield();
    }
    EXPECT_EQ((*opened)->outputFailure().failure().kind, result::FailureKind::notAvailable);
    // Before the environment is given back.
    opened->reset();
}

}  // namespace
}  // namespace TWQuickTime::playback
