#include "Private/VolumeTween.h"

#include <array>

#include "AtomContainers.h"
#include "Handles.h"
#include "Media.h"
#include "TWLog.h"
#include "TrackReferences.h"

namespace TWQuickTime {
namespace {

constexpr OSType kTweenEntry = fourCC("twen");
constexpr OSType kTweenTypeAtom = fourCC("twnt");
constexpr OSType kTweenDataAtom = fourCC("data");
constexpr std::uint32_t kTweenTypeShort = 1;
constexpr std::int32_t kDescriptionInBytes = 16;

// Two zero bytes, then two letters.
constexpr OSType kModifierInput = 26990;     // "in"
constexpr OSType kModifierTypeAtom = 29817;  // "ty"
constexpr OSType kSubInput = fourCC("subi");
constexpr std::uint32_t kModifierTypeVolume = 3;

std::array<std::uint8_t, 4> bigEndian(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

}  // namespace

OSErr VolumeTween::insertNumber(QTAtomContainer container, QTAtom parent, OSType type,
                                std::uint32_t number) const {
    const auto bytes = bigEndian(number);
    const OSErr status =
        QTInsertChild(container, parent, type, 1, 0, bytes.size(), bytes.data(), nullptr);
    TWLogError(status, "QTInsertChild", sourceFile_, __LINE__);
    return status;
}

OSErr VolumeTween::newSample(std::int16_t startVolume, std::int16_t endVolume,
                             QTAtomContainer* container) const {
    OSErr status = QTNewAtomContainer(container);
    TWLogError(status, "QTNewAtomContainer", sourceFile_, __LINE__);
    if (status != noErr)
        return status;
    QTAtom entry = 0;
    status =
        QTInsertChild(*container, kParentAtomIsContainer, kTweenEntry, 1, 0, 0, nullptr, &entry);
    TWLogError(status, "QTInsertChild", sourceFile_, __LINE__);
    if (status == noErr)
        status = insertNumber(*container, entry, kTweenTypeAtom, kTweenTypeShort);
    const std::uint32_t values = static_cast<std::uint32_t>(static_cast<std::uint16_t>(startVolume))
                                     << 16 |
                                 static_cast<std::uint16_t>(endVolume);
    if (status == noErr)
        status = insertNumber(*container, entry, kTweenDataAtom, values);
    return status;
}

OSErr VolumeTween::newDescription(Handle* description) const {
    *description = NewHandleClear(kDescriptionInBytes);
    const OSErr status = *description ? noErr : MemError();
    TWLogError(status, "NewHandleClear", sourceFile_, __LINE__);
    if (status == noErr)
        (*description)[0][3] = kDescriptionInBytes;
    return status;
}

OSErr VolumeTween::setInputMap(Track audioTrack, std::int32_t referenceIndex) const {
    QTAtomContainer map = nullptr;
    OSErr status = QTNewAtomContainer(&map);
    TWLogError(status, "QTNewAtomContainer", sourceFile_, __LINE__);
    QTAtom input = 0;
    if (status == noErr) {
        status = QTInsertChild(map, kParentAtomIsContainer, kModifierInput, referenceIndex, 0, 0,
                               nullptr, &input);
        TWLogError(status, "QTInsertChild", sourceFile_, __LINE__);
    }
    if (status == noErr)
        status = insertNumber(map, input, kModifierTypeAtom, kModifierTypeVolume);
    if (status == noErr)
        status = insertNumber(map, input, kSubInput, 1);
    if (status == noErr) {
        status = SetMediaInputMap(GetTrackMedia(audioTrack), map);
        TWLogError(status, "SetMediaInputMap", sourceFile_, __LINE__);
    }
    if (map)
        QTDisposeAtomContainer(map);
    return status;
}

OSErr VolumeTween::placeAndRefer(Track audioTrack, Track tweenTrack, Media tweenMedia,
                                 TimeValue trackStart) const {
    const TimeValue duration = GetMediaDuration(tweenMedia);
    OSErr status = GetMoviesError();
    TWLogError(status, "GetMediaDuration", sourceFile_, __LINE__);
    if (status != noErr)
        return status;
    status = InsertMediaIntoTrack(tweenTrack, trackStart, 0, duration, kFixedOne);
    TWLogError(status, "InsertMediaIntoTrack", sourceFile_, __LINE__);
    std::int32_t referenceIndex = 0;
    if (status == noErr) {
        status =
            AddTrackReference(audioTrack, tweenTrack, kTrackModifierReference, &referenceIndex);
        TWLogError(status, "AddTrackReference", sourceFile_, __LINE__);
    }
    return status == noErr ? setInputMap(audioTrack, referenceIndex) : status;
}

}  // namespace TWQuickTime
