// What there is to record from: devices, and the inputs of each.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace TWQuickTime::capture {

enum class MediaKind { video, sound };

/// One socket or port of a device.
struct DeviceInput {
    std::string name;       ///< bytes as the driver gives them, in whatever encoding
    bool available = true;  ///< false: nothing is plugged in, or it carries no signal
};

struct Device {
    MediaKind kind = MediaKind::video;
    std::string name = {};  ///< bytes as the driver gives them; several devices may share a name
    /// Names the same device again after a restart or another plugging in: bus path or serial.
    std::string identity = {};
    bool available = true;  ///< false: in use elsewhere, or not permitted
    std::vector<DeviceInput> inputs = {};
    std::size_t selectedInput = 0;  ///< an index of `inputs`
};

}  // namespace TWQuickTime::capture
