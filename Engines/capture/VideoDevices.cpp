#include "Engines/capture/VideoDevices.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "Engines/capture/Private/VideoNodeFile.h"
#include "Engines/capture/Private/VideoStream.h"

namespace TWQuickTime::capture {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

/// Drivers number their inputs from 0 without a gap; one that never stops is not believed.
constexpr std::uint32_t kMostInputs = 64;

template <std::size_t Size>
std::string textOf(const __u8 (&field)[Size]) {
    const auto* text = reinterpret_cast<const char*>(field);
    return {text, strnlen(text, Size)};
}

bool capturesPictures(const v4l2_capability& capability) {
    const std::uint32_t flags = capability.capabilities & V4L2_CAP_DEVICE_CAPS
                                    ? capability.device_caps
                                    : capability.capabilities;
    return (flags & V4L2_CAP_VIDEO_CAPTURE) && (flags & V4L2_CAP_STREAMING);
}

std::vector<DeviceInput> inputsOf(const VideoNodeFile& file) {
    std::vector<DeviceInput> inputs;
    for (std::uint32_t i = 0; i < kMostInputs; ++i) {
        v4l2_input input{};
        input.index = i;
        if (file.ask(VIDIOC_ENUMINPUT, input) < 0)
            break;
        inputs.push_back(
            {.name = textOf(input.name),
             .available = !(input.status & (V4L2_IN_ST_NO_POWER | V4L2_IN_ST_NO_SIGNAL))});
    }
    return inputs;
}

/// Asks for no buffers, which changes nothing and fails while another program streams.
bool isInUse(const VideoNodeFile& file) {
    v4l2_requestbuffers none{};
    none.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    none.memory = V4L2_MEMORY_MMAP;
    return file.ask(VIDIOC_REQBUFS, none) == -EBUSY;
}

class VideoDevices : public DeviceBackEnd {
  public:
    explicit VideoDevices(std::shared_ptr<VideoSystem> system) : system_(std::move(system)) {}

    std::vector<Device> devices(bool checkAvailability) override {
        std::vector<Device> found;
        for (const DeviceNode& node : system_->nodes()) {
            if (auto device = describe(node, checkAvailability))
                found.push_back(*std::move(device));
        }
        return found;
    }

    Expected<std::unique_ptr<DeviceSource>> open(const std::string& identity,
                                                 std::size_t inputIndex) override {
        for (const DeviceNode& node : system_->nodes()) {
            const auto device = describe(node, false);
            if (!device || device->identity != identity)
                continue;
            if (inputIndex >= device->inputs.size())
                return Failure{FailureKind::notFound, node.path + ": has no such input"};
            VideoNodeFile file(system_, node.path);
            if (!file.isOpen())
                return file.failure(-file.openError(), "could not be opened");
            auto number = static_cast<int>(inputIndex);
            if (const int status = file.ask(VIDIOC_S_INPUT, number); status < 0) {
                // A driver without inputs has one that cannot be named.
                if (status != -ENOTTY)
                    return file.failure(status, "the input could not be selected");
            }
            return openVideoStream(std::move(file));
        }
        return Failure{FailureKind::notFound, identity + ": is not plugged in"};
    }

  private:
    /// None for a node that does not capture pictures.
    std::optional<Device> describe(const DeviceNode& node, bool checkAvailability) const {
        Device device{.kind = MediaKind::video, .name = node.name, .identity = node.identity};
        const VideoNodeFile file(system_, node.path);
        if (!file.isOpen()) {
            // What is not there any more, or never was a device, is not listed.
            if (file.openError() != EBUSY && file.openError() != EACCES &&
                file.openError() != EPERM)
                return std::nullopt;
            if (device.identity.empty())
                device.identity = node.path;
            device.available = false;
            device.inputs = {{device.name}};
            return device;
        }
        v4l2_capability capability{};
        if (file.ask(VIDIOC_QUERYCAP, capability) < 0 || !capturesPictures(capability))
            return std::nullopt;
        device.name = textOf(capability.card);
        if (device.identity.empty())
            device.identity = textOf(capability.bus_info);
        if (device.identity.empty())
            device.identity = node.path;
        device.inputs = inputsOf(file);
        if (device.inputs.empty())
            device.inputs = {{device.name}};
        int selected = 0;
        if (file.ask(VIDIOC_G_INPUT, selected) >= 0 && selected >= 0)
            device.selectedInput =
                std::min(static_cast<std::size_t>(selected), device.inputs.size() - 1);
        device.available = !checkAvailability || !isInUse(file);
        return device;
    }

    std::shared_ptr<VideoSystem> system_;
};

}  // namespace

std::unique_ptr<DeviceBackEnd> makeVideoDevices(std::shared_ptr<VideoSystem> system) {
    return std::make_unique<VideoDevices>(std::move(system));
}

}  // namespace TWQuickTime::capture
