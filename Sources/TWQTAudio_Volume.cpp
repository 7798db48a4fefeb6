// Volume, envelope and fade-out of the player.
#include <algorithm>
#include <cmath>

#include "NSException.h"
#include "TWQTAudio.h"

namespace TWQuickTime {
namespace {

/// The factor of a linear ramp at a time, in 0 to 1; 1 where there is no ramp. Not limited to the
/// ramp's own time: it goes on in both directions until it meets 0 or 1.
double rampFactor(double now, double startTime, double startVolume, double endTime,
                  double endVolume) {
    if (!(startTime >= 0 && startTime < endTime))
        return 1.0;
    const double fraction = (now - startTime) / (endTime - startTime);
    return std::clamp((1 - fraction) * startVolume + fraction * endVolume, 0.0, 1.0);
}

}  // namespace

const double kDefaultVolumeGamma = 2.2;
const double kFadeDeltaTime = 0.02;

float TWQTAudio::volume() const {
    return static_cast<float>(std::pow(static_cast<double>(QTMovie::volume()), 1 / TW_volumeGamma));
}

void TWQTAudio::setVolume(float volume) {
    QTMovie::setVolume(static_cast<float>(std::pow(static_cast<double>(volume), TW_volumeGamma)));
}

void TWQTAudio::setVolumeEnvelope(const List& volumeEnvelope) {
    if (volumeEnvelope) {
        for (const auto& point : *volumeEnvelope)
            if (!std::dynamic_pointer_cast<TWQTVolumeEnvelopePoint>(point))
                throw NSException("TWQTAudioException",
                                  "Envelope points do not conform to the TWQTVolumeEnvelopePoint "
                                  "protocol");
    }
    setAtomicVolumeEnvelope(volumeEnvelope);
}

TWQTAudio::List TWQTAudio::atomicVolumeEnvelope() const {
    std::lock_guard lock(mutex_);
    return TW_volumeEnvelope;
}

void TWQTAudio::setAtomicVolumeEnvelope(const List& volumeEnvelope) {
    std::lock_guard lock(mutex_);
    TW_volumeEnvelope = volumeEnvelope;
}

bool TWQTAudio::TW_volumeRampForCurrentTime(double currentTime,
                                            std::shared_ptr<TWQTVolumeEnvelopePoint>* start,
                                            std::shared_ptr<TWQTVolumeEnvelopePoint>* end) const {
    // Held: the points' own code may give the player another list.
    const List envelope = TW_volumeEnvelope;
    if (!envelope)
        return false;
    const auto& points = *envelope;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        auto first = std::dynamic_pointer_cast<TWQTVolumeEnvelopePoint>(points[i]);
        auto second = std::dynamic_pointer_cast<TWQTVolumeEnvelopePoint>(points[i + 1]);
        if (first->time() <= currentTime && currentTime < second->time()) {
            if (start)
                *start = std::move(first);
            if (end)
                *end = std::move(second);
            return true;
        }
    }
    return false;
}

void TWQTAudio::TW_prepareNextVolumeEnvelopeFade() {
    if (!TW_volumeEnvelope) {
        setVolume(static_cast<float>(TW_referenceVolume));
        return;
    }
    std::shared_ptr<TWQTVolumeEnvelopePoint> start;
    std::shared_ptr<TWQTVolumeEnvelopePoint> end;
    if (!TW_volumeRampForCurrentTime(currentTimeInSeconds(), &start, &end))
        return;
    TW_envelopeStartTime = start->time();
    TW_envelopeStartVolume = start->volume();
    TW_envelopeEndTime = end->time();
    TW_envelopeEndVolume = end->volume();
    TW_performVolumeFade();
}

void TWQTAudio::TW_performVolumeFade() {
    const double now = currentTimeInSeconds();
    const double envelope = rampFactor(now, TW_envelopeStartTime, TW_envelopeStartVolume,
                                       TW_envelopeEndTime, TW_envelopeEndVolume);
    const double fadeout = rampFactor(now, TW_fadeoutStartTime, TW_fadeoutStartVolume,
                                      TW_fadeoutEndTime, TW_fadeoutEndVolume);
    setVolume(static_cast<float>(TW_referenceVolume * envelope * fadeout));
    // A step that waits already is not looked for: a segment or fade-out that begins meanwhile
    // runs a second chain of steps beside it, on purpose. Both compute the same.
    if (!(TW_envelopeEndTime < now && TW_fadeoutEndTime < now))
        performAfterDelay("TW_performVolumeFade", &TWQTAudio::TW_performVolumeFade, kFadeDeltaTime);
    if (TW_envelopeEndTime <= now)
        TW_prepareNextVolumeEnvelopeFade();
    if (TW_fadeoutEndTime >= 0 && TW_fadeoutEndTime <= now && TW_fadeoutStop)
        stop();
}

void TWQTAudio::fadeoutWithDuration(double duration, bool andStop) {
    const auto alive = weak_from_this().lock();
    TW_fadeoutStartTime = currentTimeInSeconds();
    // With a reference volume other than 1 the level drops by that factor at the first step, on
    // purpose: the fade-out multiplies it.
    TW_fadeoutStartVolume = volume();
    TW_fadeoutEndTime = TW_fadeoutStartTime + duration;
    TW_fadeoutEndVolume = 0.0;
    TW_fadeoutStop = andStop;
    TW_performVolumeFade();
}

}  // namespace TWQuickTime
