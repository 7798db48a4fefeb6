// Which back ends a channel finds its devices in; tests put others in their place.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Engines/capture/DeviceSource.h"
#include "TWQTExport.h"

namespace TWQuickTime {

using CaptureBackEnds = std::vector<std::shared_ptr<capture::DeviceBackEnd>>;
using CaptureBackEndMaker = std::function<CaptureBackEnds(capture::MediaKind)>;

/// Those of the machine, or what replaceCaptureBackEnds put there.
CaptureBackEnds makeCaptureBackEnds(capture::MediaKind kind);
/// For channels that are made from now on; an empty function restores those of the machine.
TWQT_EXPORT void replaceCaptureBackEnds(CaptureBackEndMaker maker);

}  // namespace TWQuickTime
