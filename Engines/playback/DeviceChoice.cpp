#include "Engines/playback/DeviceChoice.h"

#include "Engines/playback/AlsaDevice.h"
#include "Engines/playback/FileDevice.h"
#include "Engines/playback/PulseDevice.h"
#include "Engines/playback/SilentDevice.h"

namespace TWQuickTime::playback {

namespace {

constexpr std::string_view kAlsaPrefix = "alsa:";

DeviceFactory pulse(std::string sink) {
    return [sink = std::move(sink)] { return std::make_unique<PulseDevice>(sink); };
}

DeviceFactory alsa(std::string pcm) {
    return [pcm = std::move(pcm)] { return std::make_unique<AlsaDevice>(pcm); };
}

}  // namespace

DeviceChoice DeviceChoice::best() {
    return {{pulse(""), alsa("default")}};
}

DeviceChoice DeviceChoice::silent(std::shared_ptr<const Clock> clock, bool listening) {
    return {{[clock = std::move(clock), listening] {
        return std::make_unique<SilentDevice>(clock, listening);
    }}};
}

DeviceChoice DeviceChoice::file(std::string path, std::shared_ptr<const Clock> clock) {
    DeviceChoice choice{{[path = std::move(path), clock = std::move(clock)] {
        return std::make_unique<FileDevice>(path, clock);
    }}};
    // A second try would empty the file that the first one wrote.
    choice.isLookedForAgain = false;
    return choice;
}

DeviceChoice DeviceChoice::named(std::string_view name, std::shared_ptr<const Clock> clock) {
    if (name.empty() || name == "default") {
        return best();
    }
    if (name == "silent") {
        return silent(std::move(clock));
    }
    if (name == "pulse") {
        return {{pulse("")}};
    }
    if (name == "alsa") {
        return {{alsa("default")}};
    }
    if (name.starts_with(kAlsaPrefix)) {
        return {{alsa(std::string(name.substr(kAlsaPrefix.size())))}};
    }
    return {{pulse(std::string(name))}};
}

std::vector<DeviceListing> listOutputDevices() {
    std::vector<DeviceListing> all = PulseDevice::sinks();
    for (DeviceListing& listing : AlsaDevice::pcms()) {
        all.push_back(std::move(listing));
    }
    all.push_back({"silent", "real time without sound"});
    return all;
}

}  // namespace TWQuickTime::playback
