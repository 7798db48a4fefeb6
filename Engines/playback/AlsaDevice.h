// Sound through ALSA, for machines that run no sound server.
//
// A thread writes a period whenever there is room for one and notes how much of it is still to be
// heard; in between, the machine's steady clock interpolates.
#pragma once

#include <memory>
#include <string>

#include "Engines/playback/DeviceChoice.h"
#include "Engines/playback/OutputDevice.h"

namespace TWQuickTime::playback {

class AlsaDevice final : public OutputDevice {
  public:
    /// @param pcm  as ALSA names it: "default", "hw:0,0"
    explicit AlsaDevice(std::string pcm);
    ~AlsaDevice() override;

    std::string name() const override;
    void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) override;
    DeviceState state() const override;
    result::Status failure() const override;
    codec::SoundFormat format() const override;
    void start() override;
    void stop() override;
    DeviceProgress progress() const override;

    /// What ALSA's configuration names for output, each as "alsa:NAME".
    static std::vector<DeviceListing> pcms();

  private:
    class Writer;
    std::unique_ptr<Writer> writer_;
};

}  // namespace TWQuickTime::playback
