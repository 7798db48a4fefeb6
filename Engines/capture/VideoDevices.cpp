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
        for (Node& node : describeAll(checkAvailability))
            found.push_back(std::move(node.device));
        return found;
    }

    Expected<std::unique_ptr<DeviceSource>> open(const std::string& identity,
                                                 std::size_t inputIndex) override {
        for (const Node& node : describeAll(false)) {
            if (node.device.identity != identity)
                continue;
            if (inputIndex >= node.device.inputs.size())
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
    struct Node {
        std::string path;
        Device device;
        std::string busInfo;  ///< the driver's own name of the place; empty: it gives none
    };

    /// All nodes that capture pictures, each with an identity of its own.
    std::vector<Node> describeAll(bool checkAvailability) const {
        std::vector<Node> found;
        for (const DeviceNode& node : system_->nodes()) {
            auto described = describe(node, checkAvailability);
            if (!described)
                continue;
            // Several devices of one driver may sit at one place of the bus; the driver itself
            // tells them apart.
            if (isKnown(found, described->device.identity))
                described->device.identity += "#" + described->busInfo;
            if (isKnown(found, described->device.identity))
                described->device.identity += "#" + node.path;
            found.push_back(*std::move(described));
        }
        return found;
    }

    static bool isKnown(const std::vector<Node>& nodes, const std::string& identity) {
        return std::any_of(nodes.begin(), nodes.end(),
                           [&](const Node& node) { return node.device.identity == identity; });
    }

    /// None for a node that does not capture pictures.
    std::optional<Node> describe(const DeviceNode& node, bool checkAvailability) const {
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
            return Node{node.path, std::move(device), {}};
        }
        v4l2_capability capability{};
        if (file.ask(VIDIOC_QUERYCAP, capability) < 0 || !capturesPictures(capability))
            return std::nullopt;
        device.name = textOf(capability.card);
        std::string busInfo = textOf(capability.bus_info);
        if (device.identity.empty())
            device.identity = busInfo;
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
        return Node{node.path, std::move(device), std::move(busInfo)};
    }

    std::shared_ptr<VideoSystem> system_;
};

}  // namespace

std::unique_ptr<DeviceBackEnd> makeVideoDevices(std::shared_ptr<VideoSystem> system) {
    return std::make_unique<VideoDevices>(std::move(system));
}

}  // namespace TWQuickTime::capture
