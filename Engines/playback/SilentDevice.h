// Real time without sound, for machines that have no device.
#pragma once

#include <vector>

#include "Engines/playback/PacedFrames.h"

namespace TWQuickTime::playback {

class SilentDevice final : public OutputDevice {
  public:
    /// @param listening  false: it only skips, and nothing is decoded for it
    SilentDevice(std::shared_ptr<const Clock> clock, bool listening)
        : frames_(std::move(clock)), listening_(listening) {}

    std::string name() const override { return "silent"; }
    void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) override;
    DeviceState state() const override { return DeviceState::ready; }
    result::Status failure() const override { return {}; }
    codec::SoundFormat format() const override { return format_; }
    void start() override { frames_.start(); }
    void stop() override { frames_.stop(); }
    DeviceProgress progress() const override { return frames_.progress(); }
    bool isPumped() const override { return true; }
    void pump(std::int64_t aheadInNanoseconds) override;
    bool isListening() const override { return listening_; }

  private:
    PacedFrames frames_;
    bool listening_;
    codec::SoundFormat format_;
    SoundSupply* supply_ = nullptr;
    std::vector<float> heard_;
};

}  // namespace TWQuickTime::playback
