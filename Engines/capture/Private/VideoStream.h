// A running V4L2 capture: buffers shared with the driver, queued, filled and taken in turn.
#pragma once

#include <memory>

#include "Engines/capture/DeviceSource.h"
#include "Engines/capture/Private/VideoNodeFile.h"

namespace TWQuickTime::capture {

/// Settles the format with the driver.
/// @param file  with the input selected
result::Expected<std::unique_ptr<DeviceSource>> openVideoStream(VideoNodeFile file);

}  // namespace TWQuickTime::capture
