// A source of the sound server as a device, its ports as inputs.
#pragma once

#include <pulse/pulseaudio.h>

#include <string>
#include <vector>

#include "Engines/capture/CaptureDevice.h"

namespace TWQuickTime::capture {

struct PulseSourceEntry {
    Device device;
    /// What the server calls the device's inputs; empty for a source without ports, whose only
    /// input cannot be chosen.
    std::vector<std::string> portNames;
    pa_sample_spec samples{};
    bool isMonitor = false;  ///< listens to an output
};

/// A port is available unless the server knows that nothing is plugged into it.
PulseSourceEntry describePulseSource(const pa_source_info& info);

}  // namespace TWQuickTime::capture
