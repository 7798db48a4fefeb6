// Which output devices a player tries, by name.
//
//     auto choice = DeviceChoice::named("silent");
//     if (!choice) return choice.failure();
//     PlayerOptions options{.devices = *choice};
//
// After the last one of a choice comes the silent device, so that time runs on every machine.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Engines/playback/Clock.h"
#include "Engines/playback/OutputDevice.h"

namespace TWQuickTime::playback {

struct DeviceChoice {
    /// Tried in this order; the first one that becomes ready plays.
    std::vector<DeviceFactory> inOrder;
    /// Whether to look for the devices again after none came or the one that played disappeared.
    bool isLookedForAgain = true;

    /// The sound server's default sink, then the default device of bare hardware.
    static DeviceChoice best();
    /// Real time without sound. `listening`: samples are decoded all the same, for level meters;
    /// without it hours of playback cost next to nothing.
    static DeviceChoice silent(std::shared_ptr<const Clock> clock, bool listening = true);
    /// What a device would get, into a WAV file of 32-bit floats, in real time of the clock. The
    /// file is complete whenever the player is stopped or gone.
    static DeviceChoice file(std::string path, std::shared_ptr<const Clock> clock);

    /// "" or "default": best(); "silent"; "pulse" or "alsa": that system's default; "alsa:NAME": a
    /// device of bare hardware; else a sink of the sound server, by its name. Whether it is there
    /// shows when it is opened. Any thread.
    /// @param clock  of a silent device
    static DeviceChoice named(std::string_view name, std::shared_ptr<const Clock> clock);
};

/// A name for DeviceChoice::named, and what people call the device.
struct DeviceListing {
    std::string name;
    std::string description;
};

/// What is there now. Asks the sound server, at most half a second; any thread.
std::vector<DeviceListing> listOutputDevices();

}  // namespace TWQuickTime::playback
