#include "SGDeviceWatch.h"

#include "Engines/capture/DeviceManager.h"

namespace TWQuickTime {

struct SGDeviceWatch::Implementation {
    /// Null where nothing is told.
    std::unique_ptr<capture::DeviceWatch> watch;
};

SGDeviceWatch::SGDeviceWatch() : implementation_(std::make_unique<Implementation>()) {
    if (auto started = capture::DeviceWatch::start({"video4linux", "sound"}))
        implementation_->watch = *std::move(started);
}

SGDeviceWatch::~SGDeviceWatch() = default;

OSErr SGDeviceWatch::status() const {
    return implementation_->watch ? noErr : featureUnsupported;
}

int SGDeviceWatch::descriptor() const {
    return implementation_->watch ? implementation_->watch->descriptor() : -1;
}

bool SGDeviceWatch::takeChanges() {
    return implementation_->watch && implementation_->watch->takeChanges();
}

}  // namespace TWQuickTime
