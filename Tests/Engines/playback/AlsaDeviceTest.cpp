#include "Engines/playback/AlsaDevice.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace TWQuickTime::playback {
namespace {

constexpr auto kLongest = std::chrono::seconds(20);

class CountingSupply final : public SoundSupply {
  public:
    void supply(std::span<float> interleaved) noexcept override {
        std::ranges::fill(interleaved, 0.25f);
        samples_ += std::int64_t(interleaved.size());
    }
    void skip(std::int64_t) noexcept override {}
    std::int64_t samples() const { return samples_; }

  private:
    std::atomic<std::int64_t> samples_ = 0;
};

template <class Condition>
bool waitUntil(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + kLongest;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

/// ALSA's own device that swallows everything; it is there without any hardware.
class AlsaNullDevice : public testing::Test {
  protected:
    AlsaNullDevice() {
        device_.requestOpen({2, 48000}, supply_);
        opened_ = waitUntil([&] { return device_.state() != DeviceState::opening; });
    }

    CountingSupply supply_;
    AlsaDevice device_{"null"};
    bool opened_ = false;
};

TEST_F(AlsaNullDevice, TakesWhatItIsGivenAndCountsIt) {
    ASSERT_TRUE(opened_);
    ASSERT_EQ(device_.state(), DeviceState::ready) << device_.failure().failure().message;
    EXPECT_EQ(device_.format(), (codec::SoundFormat{2, 48000}));
    device_.start();
    ASSERT_TRUE(waitUntil([&] { return device_.progress().framesHeard >= 4800; }));
    device_.stop();
    const std::int64_t samples = supply_.samples();
    const DeviceProgress stopped = device_.progress();
    EXPECT_EQ(stopped.framesTaken * 2, samples);
    EXPECT_EQ(stopped.framesHeard, stopped.framesTaken);
    device_.start();
    ASSERT_TRUE(waitUntil([&] { return supply_.samples() > samples; }));
    EXPECT_GE(device_.progress().framesHeard, stopped.framesHeard);
}

TEST_F(AlsaNullDevice, TakesNoMoreThanTimeAllowsEvenFromADeviceThatSwallowsEverything) {
    ASSERT_TRUE(opened_);
    const auto begin = std::chrono::steady_clock::now();
    device_.start();
    ASSERT_TRUE(waitUntil([&] { return device_.progress().framesTaken >= 12000; }));
    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
}

TEST(AlsaDevice, ADeviceThatIsNotThereIsAFailure) {
    CountingSupply supply;
    AlsaDevice device("no such device");
    device.requestOpen({2, 48000}, supply);
    ASSERT_TRUE(waitUntil([&] { return device.state() == DeviceState::gone; }));
    EXPECT_EQ(device.failure().failure().kind, result::FailureKind::notAvailable);
    EXPECT_NE(device.failure().failure().message.find("no such device"), std::string::npos);
    device.start();
    device.stop();
    EXPECT_EQ(device.progress().framesTaken, 0);
}

TEST(AlsaDevice, GoesWhileItIsStillOpening) {
    CountingSupply supply;
    AlsaDevice device("null");
    device.requestOpen({1, 44100}, supply);
}

TEST(AlsaDevice, ListsItsDevicesByNamesThatCanBeChosen) {
    for (const DeviceListing& listing : AlsaDevice::pcms()) {
        EXPECT_TRUE(listing.name.starts_with("alsa:")) << listing.name;
    }
}

}  // namespace
}  // namespace TWQuickTime::playback
