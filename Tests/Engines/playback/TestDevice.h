// A device that does on request what devices do: bursts, latency, stalls, jitter, late answers and
// disappearance. It keeps what it gets.
//
//     auto lab = std::make_shared<DeviceLab>(clock);
//     lab->latencyInFrames = 480;
//     PlayerOptions options{.devices = lab->choice(), …};
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "Engines/playback/DeviceChoice.h"
#include "HandClock.h"

namespace TWQuickTime::playback::test {

class TestDevice;

/// What a test asks of its devices, and what they got.
struct DeviceLab : std::enable_shared_from_this<DeviceLab> {
    explicit DeviceLab(std::shared_ptr<HandClock> theClock) : clock(std::move(theClock)) {}

    std::shared_ptr<HandClock> clock;
    /// Another format than the wanted one; 0: the wanted one.
    double sampleRate = 0;
    int channels = 0;
    std::int64_t latencyInFrames = 0;
    /// Frames are taken in multiples of it.
    std::int64_t burstInFrames = 1;
    /// Added to what is reported as heard.
    std::function<std::int64_t()> jitter = [] { return 0; };
    DeviceState answer = DeviceState::ready;

    std::vector<float> recorded;
    int devicesMade = 0;
    TestDevice* device = nullptr;

    DeviceChoice choice();
    /// The recorded samples as sixteen-bit levels.
    std::vector<int> levels() const {
        std::vector<int> all;
        all.reserve(recorded.size());
        for (const float sample : recorded) {
            all.push_back(int(std::lround(sample * 32768)));
        }
        return all;
    }
};

class TestDevice final : public OutputDevice {
  public:
    explicit TestDevice(std::shared_ptr<DeviceLab> lab)
        : lab_(std::move(lab)), state_(lab_->answer) {
        ++lab_->devicesMade;
        lab_->device = this;
    }
    ~TestDevice() override {
        if (lab_->device == this) {
            lab_->device = nullptr;
        }
    }

    std::string name() const override { return "test"; }
    void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) override {
        supply_ = &supply;
        format_ = wanted;
        format_.sampleRate = lab_->sampleRate > 0 ? lab_->sampleRate : wanted.sampleRate;
        format_.channels = lab_->channels > 0 ? lab_->channels : wanted.channels;
    }
    DeviceState state() const override { return state_; }
    result::Status failure() const override {
        return state_ == DeviceState::gone
                   ? result::Status(result::Failure{result::FailureKind::notAvailable, "unplugged"})
                   : result::Status();
    }
    codec::SoundFormat format() const override { return format_; }
    void start() override {
        runs_ = true;
        startedAt_ = lab_->clock->nanoseconds();
        base_ = taken_;
    }
    void stop() override { runs_ = false; }
    DeviceProgress progress() const override {
        if (!runs_) {
            return {taken_, taken_};
        }
        return {taken_, std::clamp(base_ + passed() + lab_->jitter(), std::int64_t{0}, taken_)};
    }
    bool isPumped() const override { return true; }
    void pump(std::int64_t /*aheadInNanoseconds*/) override {
        if (!runs_) {
            return;
        }
        std::int64_t due = base_ + passed() + lab_->latencyInFrames - taken_;
        due = (due + lab_->burstInFrames - 1) / lab_->burstInFrames * lab_->burstInFrames;
        if (due > 0) {
            std::vector<float> piece(std::size_t(due) * std::size_t(format_.channels));
            supply_->supply(piece);
            taken_ += due;
            lab_->recorded.insert(lab_->recorded.end(), piece.begin(), piece.end());
        }
    }

    void becomeReady() { state_ = DeviceState::ready; }
    /// From now on it neither takes nor plays anything.
    void disappear() {
        stoppedAt_ = lab_->clock->nanoseconds();
        state_ = DeviceState::gone;
    }
    /// The hardware makes a pause: what follows is heard so much later.
    void stall(std::int64_t nanoseconds) { startedAt_ += nanoseconds; }

  private:
    std::int64_t passed() const {
        const std::int64_t now =
            state_ == DeviceState::gone ? stoppedAt_ : lab_->clock->nanoseconds();
        return std::max<std::int64_t>(now - startedAt_, 0) * std::int64_t(format_.sampleRate) /
               1'000'000'000;
    }

    std::shared_ptr<DeviceLab> lab_;
    DeviceState state_;
    SoundSupply* supply_ = nullptr;
    codec::SoundFormat format_;
    bool runs_ = false;
    std::int64_t startedAt_ = 0, stoppedAt_ = 0, base_ = 0, taken_ = 0;
};

inline DeviceChoice DeviceLab::choice() {
    return {{[self = shared_from_this()] { return std::make_unique<TestDevice>(self); }}};
}

}  // namespace TWQuickTime::playback::test
