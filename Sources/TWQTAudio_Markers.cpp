// Markers of the player: it looks at its own time, seldom while the next one is far, every
// millisecond when it is near.
#include "NSException.h"
#include "Private/TWQTAudioDelegateCall.h"
#include "TWQTAudio.h"

namespace TWQuickTime {

const double kMarkerDeltaTime = 0.001;
const double kMarkerSleepThreshold = 0.1;

void TWQTAudio::setMarkers(const List& markers) {
    if (markers) {
        for (const auto& marker : *markers)
            if (!std::dynamic_pointer_cast<TWQTAudioMarker>(marker))
                throw NSException("TWQTAudioException",
                                  "Audiomarkers do not conform to the TWQTAudioMarker protocol");
    }
    setAtomicMarkers(markers);
}

TWQTAudio::List TWQTAudio::atomicMarkers() const {
    std::lock_guard lock(mutex_);
    return TW_markers;
}

void TWQTAudio::setAtomicMarkers(const List& markers) {
    std::lock_guard lock(mutex_);
    TW_markers = markers;
}

void TWQTAudio::resetNextMarker() {
    TW_nextMarkerIndex = kNoMarker;
    TW_nextMarkerTime = -1.0;
}

double TWQTAudio::TW_nextMarkerTimeForCurrentTime(double currentTime, std::uint32_t* index) const {
    // Held: the markers' own code may give the player another list.
    if (const List markers = TW_markers) {
        const double shift = TW_videoFrameRate > 0 ? 0.5 / TW_videoFrameRate : 0.0;
        std::uint32_t position = 0;
        for (const auto& object : *markers) {
            const auto& marker = dynamic_cast<const TWQTAudioMarker&>(*object);
            const double time = marker.time() - shift;
            if (currentTime < time) {
                if (index)
                    *index = position;
                return time;
            }
            ++position;
        }
    }
    if (index)
        *index = kNoMarker;
    return -1.0;
}

void TWQTAudio::TW_waitForNextMarker() {
    if (!TW_markers)
        return;
    const double now = currentTimeInSeconds();
    double next = TW_nextMarkerTime;
    if (next < 0) {
        next = TW_nextMarkerTimeForCurrentTime(now, &TW_nextMarkerIndex);
        TW_nextMarkerTime = next;
    }
    if (next >= 0 && next <= now) {
        TW_fireNextMarkerWithCurrentTime(now);
        next = TW_nextMarkerTime;
    }
    // With no marker ahead it goes on looking, on purpose: so it finds the markers again when a
    // looping player jumps back to its in point.
    const double delay = next - now > kMarkerSleepThreshold ? (next - now) - kMarkerSleepThreshold
                                                            : kMarkerDeltaTime;
    performAfterDelay("TW_waitForNextMarker", &TWQTAudio::TW_waitForNextMarker, delay);
}

void TWQTAudio::TW_fireNextMarkerWithCurrentTime(double currentTime) {
    TW_lastMarkerIndex = TW_nextMarkerIndex;
    TW_lastMarkerTime = currentTime;
    TW_lastMarkerDelay = currentTime - TW_nextMarkerTime;
    tell(*this, &TWQTAudioDelegate::didFireMarkerForAudio, TW_lastMarkerIndex);
    TW_nextMarkerTime = TW_nextMarkerTimeForCurrentTime(currentTime, &TW_nextMarkerIndex);
}

}  // namespace TWQuickTime
