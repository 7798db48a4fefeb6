// Microphones and other sources of sound: those of the sound server where one runs, else the
// machine's own hardware.
#pragma once

#include <memory>

#include "Engines/capture/DeviceSource.h"

namespace TWQuickTime::capture {

/// Sources of a PulseAudio server (or of PipeWire in its place), the default one first, those that
/// listen to an output last; their ports are their inputs. Empty where no server runs; none is
/// started.
std::unique_ptr<DeviceBackEnd> makePulseDevices();
/// The hardware that ALSA knows, one input each.
std::unique_ptr<DeviceBackEnd> makeAlsaDevices();
/// The first of these, or the second where no server answers at that moment.
std::unique_ptr<DeviceBackEnd> makeSoundDevices();

}  // namespace TWQuickTime::capture
