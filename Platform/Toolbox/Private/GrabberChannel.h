// A channel of a sequence grabber: which devices it sees, and which of them it uses.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Private/CaptureBackEnds.h"
#include "Private/ComponentRegistry.h"
#include "SequenceGrabber.h"

namespace TWQuickTime {

/// What of a grabber its channels have to know; it outlives the grabber with them.
struct GrabberMode {
    bool recording = false;
    bool testPatternOffered = false;
};

/// A device of the list, under the name that it has there.
struct ListedDevice {
    capture::Device device;
    std::string name;  ///< at most 63 bytes, unique in the list
    std::shared_ptr<capture::DeviceBackEnd> backEnd;
};

class GrabberChannel {
  public:
    GrabberChannel(capture::MediaKind kind, std::shared_ptr<GrabberMode> grabber)
        : kind_(kind), grabber_(std::move(grabber)), backEnds_(makeCaptureBackEnds(kind)) {}

    const std::shared_ptr<GrabberMode>& grabber() const { return grabber_; }

    std::vector<ListedDevice> devices(bool checkAvailability);
    /// Index in a list of the device that the channel uses: the one that was chosen, else the first
    /// available one, else the first. Only for a list that is not empty.
    std::size_t selectedDevice(const std::vector<ListedDevice>& list) const;
    /// Index of the input that the channel uses of a device.
    std::size_t selectedInput(const ListedDevice& device) const;

    OSErr selectDevice(const std::string& name);
    OSErr selectInput(std::int16_t number);

    /// Opens the selected input unless it is open, and keeps it.
    OSErr prepare();
    void release() { prepared_.reset(); }
    std::unique_ptr<capture::DeviceSource> takePrepared() { return std::move(prepared_); }

    std::int32_t usage = seqGrabRecord;

  private:
    capture::MediaKind kind_;
    std::shared_ptr<GrabberMode> grabber_;
    CaptureBackEnds backEnds_;
    std::shared_ptr<capture::DeviceBackEnd> testPattern_;
    std::optional<std::string> chosenIdentity_;
    std::optional<std::size_t> chosenInput_;  ///< of the chosen device
    std::string openedIdentity_;              ///< of the device that was opened last
    std::unique_ptr<capture::DeviceSource> prepared_;
};

/// A channel as a component instance; empty until a grabber makes it one of its channels.
class GrabberChannelStorage : public ComponentStorage {
  public:
    std::shared_ptr<GrabberChannel> channel;
};

/// The toolbox's status for a device that could not be opened or went away, or for the file of a
/// recording.
OSErr statusOfDeviceFailure(const result::Failure& failure);

}  // namespace TWQuickTime
