#include "Engines/capture/SoundDevices.h"

#include "Engines/capture/Private/PulseConnection.h"

namespace TWQuickTime::capture {

using result::Expected;

namespace {

class SoundDevices : public DeviceBackEnd {
  public:
    std::vector<Device> devices(bool checkAvailability) override {
        return present().devices(checkAvailability);
    }
    Expected<std::unique_ptr<DeviceSource>> open(const std::string& identity,
                                                 std::size_t inputIndex) override {
        return present().open(identity, inputIndex);
    }

  private:
    /// A server may come and go while a program runs.
    DeviceBackEnd& present() { return PulseConnection::open().ok() ? *pulse_ : *alsa_; }

    std::unique_ptr<DeviceBackEnd> pulse_ = makePulseDevices();
    std::unique_ptr<DeviceBackEnd> alsa_ = makeAlsaDevices();
};

}  // namespace

std::unique_ptr<DeviceBackEnd> makeSoundDevices() {
    return std::make_unique<SoundDevices>();
}

}  // namespace TWQuickTime::capture
