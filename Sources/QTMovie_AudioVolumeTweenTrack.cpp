#include "QTMovie_AudioVolumeTweenTrack.h"

#include "AtomContainers.h"
#include "Handles.h"
#include "Media.h"
#include "Private/VolumeTween.h"
#include "Private/WholeNumber.h"
#include "QTTrack.h"
#include "TWLog.h"
#include "TWUQuickTimeMovie.h"

namespace TWQuickTime {

const NSString QTAudioVolumeTweenEnvelopeTimeKey = "time";
const NSString QTAudioVolumeTweenEnvelopeVolumeKey = "volume";

namespace {

constexpr const char* kSourceFile = "Sources/QTMovie_AudioVolumeTweenTrack";
constexpr const char* kMethod =
    "-[QTMovie(AudioVolumeTweenTrack) addTweenForAudioTrack:volumeEnvelope:error:]";
/// Full volume is 255, not the 256 of 8.8 fixed point, on purpose.
constexpr double kFullTweenVolume = 255.0;

double timeOf(const NSArray& envelope, std::size_t index) {
    return envelope.objectAtIndex(index)
        .dictionaryValue()
        .objectForKey(QTAudioVolumeTweenEnvelopeTimeKey)
        .doubleValue();
}

std::int16_t volumeOf(const NSArray& envelope, std::size_t index) {
    const double volume = envelope.objectAtIndex(index)
                              .dictionaryValue()
                              .objectForKey(QTAudioVolumeTweenEnvelopeVolumeKey)
                              .doubleValue();
    return low16Bits(integerPart<std::int64_t>(volume * kFullTweenVolume + 0.5));
}

bool fail(NSError* error, OSErr status, const NSString& description) {
    if (error)
        *error = NSError::errorWithDomain(NSOSStatusErrorDomain, status,
                                          {{NSLocalizedDescriptionKey, description}});
    return false;
}

/// Logs a faulty argument and fails with it.
bool failWithArgument(NSError* error, const char* format) {
    TWLog(format, kMethod);
    return fail(error, paramErr, formatString(format, kMethod));
}

OSErr addRamp(const VolumeTween& tween, Media media, Handle description, TimeValue duration,
              std::int16_t startVolume, std::int16_t endVolume) {
    QTAtomContainer container = nullptr;
    OSErr status = tween.newSample(startVolume, endVolume, &container);
    if (status == noErr) {
        status = AddMediaSample(media, container, 0,
                                static_cast<std::uint32_t>(GetHandleSize(container)), duration,
                                description, 1, 0, nullptr);
        TWLogError(status, "AddMediaSample", kSourceFile, __LINE__);
    }
    if (container)
        QTDisposeAtomContainer(container);
    return status;
}

/// One sample for each pair of neighbours that have time between them.
OSErr addRamps(const VolumeTween& tween, Media media, Handle description, TimeScale scale,
               const NSArray& envelope) {
    for (std::size_t i = 0; i + 1 < envelope.count(); ++i) {
        const std::int64_t duration =
            integerPart<std::int64_t>(timeOf(envelope, i + 1) * scale + 0.5) -
            integerPart<std::int64_t>(timeOf(envelope, i) * scale + 0.5);
        if (duration <= 0)
            continue;
        const OSErr status =
            addRamp(tween, media, description, integerPart(static_cast<double>(duration)),
                    volumeOf(envelope, i), volumeOf(envelope, i + 1));
        if (status != noErr)
            return status;
    }
    return noErr;
}

OSErr fillMedia(const VolumeTween& tween, Media media, TimeScale scale, const NSArray& envelope) {
    Handle description = nullptr;
    OSErr status = tween.newDescription(&description);
    if (status == noErr) {
        status = BeginMediaEdits(media);
        TWLogError(status, "BeginMediaEdits", kSourceFile, __LINE__);
    }
    if (status == noErr)
        status = addRamps(tween, media, description, scale, envelope);
    if (status == noErr) {
        status = EndMediaEdits(media);
        TWLogError(status, "EndMediaEdits", kSourceFile, __LINE__);
    }
    if (description)
        DisposeHandle(description);
    return status;
}

OSErr addTween(QTMovie& movie, Track audioTrack, const NSArray& envelope) {
    const TimeScale scale = GetMediaTimeScale(GetTrackMedia(audioTrack));
    OSErr status = GetMoviesError();
    TWLogError(status, "GetMediaTimeScale", kSourceFile, __LINE__);
    if (status != noErr)
        return status;
    Track tweenTrack = nullptr;
    Media tweenMedia = nullptr;
    status = TWUQuickTimeMovie::createNewTrackInMovie(movie.quickTimeMovie(), TweenMediaType, 0, 0,
                                                      0, scale, &tweenTrack, &tweenMedia);
    TWLogError(status, "CreateNewTrack", kSourceFile, __LINE__);
    if (status != noErr)
        return status;
    const VolumeTween tween(kSourceFile);
    status = fillMedia(tween, tweenMedia, scale, envelope);
    if (status != noErr)
        return status;
    const double movieScale = movie.attributeForKey(QTMovieTimeScaleAttribute).doubleValue();
    return tween.placeAndRefer(audioTrack, tweenTrack, tweenMedia,
                               integerPart(timeOf(envelope, 0) * movieScale + 0.5));
}

}  // namespace

bool QTMovie_AudioVolumeTweenTrack::addTweenForAudioTrack(
    const std::shared_ptr<QTMovie>& receiver, const std::shared_ptr<QTTrack>& inAudioTrack,
    const NSArray& volumeEnvelope, NSError* error) {
    if (error)
        *error = nullptr;
    if (!receiver)
        return false;
    if (!inAudioTrack)
        return failWithArgument(error, "%s: Error - inAudioTrack is NULL...");
    // Without points the bound is the greatest number there is, and the first look raises, on
    // purpose.
    const std::size_t pairs = volumeEnvelope.count() - 1;
    for (std::size_t i = 0; i < pairs; ++i)
        if (timeOf(volumeEnvelope, i) > timeOf(volumeEnvelope, i + 1))
            return failWithArgument(
                error, "%s: Error - time values in VolumeEnvelope are not monotonous...");
    const OSErr status = addTween(*receiver, inAudioTrack->quickTimeTrack(), volumeEnvelope);
    if (status == noErr)
        return true;
    return fail(error, status,
                formatString("%s: Internal QuickTime error occured: %ld", kMethod, status));
}

}  // namespace TWQuickTime
