// A device that is built in: colour bars with a running timecode, and a tone of 1 kHz.
//
// It stands in for a camera where there is none, in trying out a set-up and in tests, and takes the
// same way as real devices. One input delivers Motion JPEG, the other uncompressed pictures.
#pragma once

#include <memory>

#include "Engines/capture/CaptureClock.h"
#include "Engines/capture/DeviceSource.h"

namespace TWQuickTime::capture {

/// The name of the device, for pictures as for sound.
inline constexpr const char* kTestPatternName = "Test Pattern";
/// Of the tone: frames per second, and whole periods per second.
constexpr int kTestToneSampleRate = 48000;
constexpr int kTestToneHertz = 1000;
constexpr int kTestPatternFramesPerSecond = 25;

/// @param clock  paces the device; outlives it and its sources
std::unique_ptr<DeviceBackEnd> makeTestPattern(MediaKind kind,
                                               CaptureClock& clock = CaptureClock::system());

}  // namespace TWQuickTime::capture
