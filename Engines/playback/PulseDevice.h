// Sound through a sound server that speaks PulseAudio's protocol.
//
// The server asks for frames on the connection's own thread, and tells the time that is heard,
// interpolated between its reports. The stream runs at the sink's rate.
#pragma once

#include <memory>
#include <string>

#include "Engines/playback/DeviceChoice.h"
#include "Engines/playback/OutputDevice.h"

namespace TWQuickTime::playback {

class PulseDevice final : public OutputDevice {
  public:
    /// @param sink  its name; empty: the server's default
    explicit PulseDevice(std::string sink);
    ~PulseDevice() override;

    std::string name() const override;
    void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) override;
    DeviceState state() const override;
    result::Status failure() const override;
    codec::SoundFormat format() const override;
    void start() override;
    void stop() override;
    DeviceProgress progress() const override;

    /// Sinks of the server; none when it does not answer within half a second.
    static std::vector<DeviceListing> sinks();

  private:
    struct Connection;
    std::unique_ptr<Connection> connection_;
};

}  // namespace TWQuickTime::playback
