// Cameras, frame grabbers and TV cards of the system: the V4L2 back end.
//
// A device is a node that can capture pictures; its inputs are the driver's. Not available is a
// device that another program streams from or that may not be opened, and an input without power or
// signal. The identity is the device manager's serial or bus path, else the driver's bus info.
#pragma once

#include <memory>

#include "Engines/capture/DeviceSource.h"
#include "Engines/capture/VideoSystem.h"

namespace TWQuickTime::capture {

std::unique_ptr<DeviceBackEnd> makeVideoDevices(
    std::shared_ptr<VideoSystem> system = VideoSystem::system());

}  // namespace TWQuickTime::capture
