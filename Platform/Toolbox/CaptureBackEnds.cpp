#include "Private/CaptureBackEnds.h"

#include <mutex>

#include "Engines/capture/SoundDevices.h"
#include "Engines/capture/VideoDevices.h"

namespace TWQuickTime {
namespace {

struct Replacement {
    std::mutex mutex;
    CaptureBackEndMaker maker;
};

Replacement& replacement() {
    static auto* const shared = new Replacement;
    return *shared;
}

}  // namespace

CaptureBackEnds makeCaptureBackEnds(capture::MediaKind kind) {
    const std::lock_guard lock(replacement().mutex);
    if (replacement().maker)
        return replacement().maker(kind);
    if (kind == capture::MediaKind::video)
        return {capture::makeVideoDevices()};
    return {capture::makeSoundDevices()};
}

void replaceCaptureBackEnds(CaptureBackEndMaker maker) {
    const std::lock_guard lock(replacement().mutex);
    replacement().maker = std::move(maker);
}

}  // namespace TWQuickTime
