// What the system's device manager tells, asked through libudev: the nodes of a class of devices,
// and when one of them comes or goes.
//
//     for (const DeviceNode& node : deviceNodes("video4linux")) …
//
//     auto watch = DeviceWatch::start({"video4linux", "sound"});
//     … poll (*watch)->descriptor() …
//     if ((*watch)->takeChanges()) listAgain();
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Engines/result/Result.h"

namespace TWQuickTime::capture {

struct DeviceNode {
    std::string path;      ///< "/dev/video0"
    std::string name;      ///< as the system knows it, where the node itself cannot be asked
    std::string identity;  ///< serial or bus path, "" when the manager knows neither
};

/// The nodes of a class, in the order of their numbers; none where libudev is not installed.
/// @param subsystem  "video4linux"
std::vector<DeviceNode> deviceNodes(const std::string& subsystem);

/// Not for use from two threads at once.
class DeviceWatch {
  public:
    /// @param subsystems  the classes to be told of; without any, of all
    /// @return `notAvailable` where libudev is not installed, or tells no changes
    static result::Expected<std::unique_ptr<DeviceWatch>> start(
        const std::vector<std::string>& subsystems);
    virtual ~DeviceWatch() = default;

    /// Readable while there is something to take.
    virtual int descriptor() const = 0;
    /// Takes what was told since the last call. @return whether something came, went or changed
    virtual bool takeChanges() = 0;
};

}  // namespace TWQuickTime::capture
