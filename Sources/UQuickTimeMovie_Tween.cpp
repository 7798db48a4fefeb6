#include <array>

#include "AtomContainers.h"
#include "Handles.h"
#include "Media.h"
#include "Movies.h"
#include "Private/VolumeTween.h"
#include "Private/WholeNumber.h"
#include "TWLog.h"
#include "Tracks.h"
#include "UQuickTimeMovie.h"

namespace TWQuickTime {
namespace {

constexpr const char* kSourceFile = "Sources/UQuickTimeMovie";
/// Full volume is 255, not the 256 of 8.8 fixed point, on purpose.
constexpr double kFullTweenVolume = 255.0;

/// One stretch of the trapezoid, in media units.
struct Ramp {
    TimeValue duration = 0;
    std::int16_t startVolume = 0;
    std::int16_t endVolume = 0;
    QTAtomContainer container = nullptr;
};

using Ramps = std::array<Ramp, 3>;

TimeValue difference(TimeValue end, TimeValue start) {
    return static_cast<TimeValue>(static_cast<std::uint32_t>(end) -
                                  static_cast<std::uint32_t>(start));
}

OSErr buildContainers(const VolumeTween& tween, Ramps& ramps) {
    for (Ramp& ramp : ramps) {
        if (ramp.duration == 0)
            continue;
        const OSErr status = tween.newSample(ramp.startVolume, ramp.endVolume, &ramp.container);
        if (status != noErr)
            return status;
    }
    return noErr;
}

OSErr addSamples(Media media, Handle description, const Ramps& ramps) {
    for (const Ramp& ramp : ramps) {
        if (!ramp.container)
            continue;
        const OSErr status = AddMediaSample(
            media, ramp.container, 0, static_cast<std::uint32_t>(GetHandleSize(ramp.container)),
            ramp.duration, description, 1, 0, nullptr);
        TWLogError(status, "AddMediaSample", kSourceFile, __LINE__);
        if (status != noErr)
            return status;
    }
    return noErr;
}

/// Builds all samples before any edit, then adds them between one pair of edit calls.
OSErr fillMedia(const VolumeTween& tween, Media media, Ramps& ramps) {
    OSErr status = buildContainers(tween, ramps);
    Handle description = nullptr;
    if (status == noErr)
        status = tween.newDescription(&description);
    if (status == noErr) {
        status = BeginMediaEdits(media);
        TWLogError(status, "BeginMediaEdits", kSourceFile, __LINE__);
    }
    if (status == noErr)
        status = addSamples(media, description, ramps);
    if (status == noErr) {
        status = EndMediaEdits(media);
        TWLogError(status, "EndMediaEdits", kSourceFile, __LINE__);
    }
    if (description)
        DisposeHandle(description);
    for (const Ramp& ramp : ramps)
        if (ramp.container)
            QTDisposeAtomContainer(ramp.container);
    return status;
}

}  // namespace

OSErr UQuickTimeMovie::CreateNewTweenTrackForAudioTrack(Movie inMovie, Track inAudioTrack,
                                                        const double* inTime, double inVolume) {
    constexpr const char* kFunction = "CreateNewTweenTrackForAudioTrack";
    if (!inMovie) {
        TWLog("%s: Error - inMovie is NULL...", kFunction);
        return paramErr;
    }
    if (!inAudioTrack) {
        TWLog("%s: Error - inAudioTrack is NULL...", kFunction);
        return paramErr;
    }
    if (!inTime || inTime[1] < inTime[0] || inTime[2] < inTime[1] || inTime[3] < inTime[2]) {
        TWLog("%s: Error - inTime[] array is not monotonous...", kFunction);
        return paramErr;
    }
    const TimeScale scale = GetMediaTimeScale(GetTrackMedia(inAudioTrack));
    OSErr status = GetMoviesError();
    TWLogError(status, "GetMediaTimeScale", kSourceFile, __LINE__);
    if (status != noErr)
        return status;
    Track tweenTrack = nullptr;
    Media tweenMedia = nullptr;
    status = CreateNewTrack(inMovie, TweenMediaType, 0, 0, 0, scale, &tweenTrack, &tweenMedia);
    TWLogError(status, "CreateNewTrack", kSourceFile, __LINE__);
    if (status != noErr)
        return status;

    std::array<TimeValue, 4> mediaTimes;
    for (std::size_t i = 0; i < mediaTimes.size(); ++i)
        mediaTimes[i] = nearestInteger(inTime[i] * scale);
    const std::int16_t volume =
        low16Bits(nearestInteger<std::int64_t>(inVolume * kFullTweenVolume));
    Ramps ramps{Ramp{difference(mediaTimes[1], mediaTimes[0]), 0, volume},
                Ramp{difference(mediaTimes[2], mediaTimes[1]), volume, volume},
                Ramp{difference(mediaTimes[3], mediaTimes[2]), volume, 0}};
    const VolumeTween tween(kSourceFile);
    status = fillMedia(tween, tweenMedia, ramps);
    if (status != noErr)
        return status;

    const TimeScale movieScale = GetMovieTimeScale(inMovie);
    status = GetMoviesError();
    TWLogError(status, "GetMovieTimeScale", kSourceFile, __LINE__);
    if (status != noErr)
        return status;
    return tween.placeAndRefer(inAudioTrack, tweenTrack, tweenMedia,
                               integerPart(inTime[0] * movieScale + 0.5));
}

}  // namespace TWQuickTime
