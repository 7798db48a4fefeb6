#include "TrackReferences.h"

#include "Private/HandleBytes.h"
#include "Private/RecordCalls.h"

namespace TWQuickTime {
namespace {

/// Container header and root atom without children.
constexpr unsigned char kEmptyContainer[32] = {0, 0, 0, 0, 0,  0,   0,   0,   0,   0, 0,
                                               0, 0, 0, 0, 20, 's', 'e', 'a', 'n', 0, 0,
                                               0, 1, 0, 0, 0,  0,   0,   0,   0,   0};
/// Two bytes before the end of the container's header.
constexpr std::size_t kLockCountOffset = 10;

}  // namespace

OSErr AddTrackReference(Track track, Track refTrack, OSType refType, std::int32_t* addedIndex) {
    if (addedIndex)
        *addedIndex = 0;
    return workOnObject("AddTrackReference", track, [&](TrackRecord& record) -> OSErr {
        const TrackRecord* target = liveTrack(refTrack);
        if (!target || target->movie != record.movie)
            return invalidTrack;
        const std::uint32_t index = record.track->addReference(refType, target->track->id);
        if (addedIndex)
            *addedIndex = static_cast<std::int32_t>(index);
        return noErr;
    });
}

OSErr DeleteTrackReference(Track track, OSType refType, ToolboxIndex index) {
    return workOnObject("DeleteTrackReference", track, [&](TrackRecord& record) -> OSErr {
        const bool emptied =
            index >= 1 && record.track->setReference(refType, static_cast<std::uint32_t>(index), 0);
        return emptied ? noErr : paramErr;
    });
}

std::int32_t GetTrackReferenceCount(Track track, OSType refType) {
    return readObject("GetTrackReferenceCount", track, 0, [&](const TrackRecord& record) {
        const timeline::TrackReferences* references = record.track->referencesOfType(refType);
        return references ? static_cast<std::int32_t>(references->trackIDs.size()) : 0;
    });
}

Track GetTrackReference(Track track, OSType refType, ToolboxIndex index) {
    Track found = nullptr;
    workOnObject("GetTrackReference", track, [&](TrackRecord& record) -> OSErr {
        const timeline::TrackReferences* references = record.track->referencesOfType(refType);
        if (!references || index < 1 ||
            static_cast<std::size_t>(index) > references->trackIDs.size())
            return paramErr;
        const std::uint32_t id = references->trackIDs[static_cast<std::size_t>(index) - 1];
        if (timeline::Track* target = id ? record.movie->movie->trackWithID(id) : nullptr)
            found = &record.movie->trackRecord(*target);
        return noErr;
    });
    return found;
}

OSType GetNextTrackReferenceType(Track track, OSType refType) {
    return readObject(
        "GetNextTrackReferenceType", track, OSType{0}, [&](const TrackRecord& record) -> OSType {
            bool passed = refType == 0;
            for (const timeline::TrackReferences& references : record.track->references) {
                if (passed)
                    return references.type;
                passed = references.type == refType;
            }
            return 0;
        });
}

OSErr SetMediaInputMap(Media media, QTAtomContainer inputMap) {
    return workOnObject("SetMediaInputMap", media, [&](MediaRecord& record) -> OSErr {
        if (!inputMap) {
            record.media->inputMap = {};
            return noErr;
        }
        const std::span<const std::byte> bytes = handleBytes(inputMap);
        if (bytes.size() < sizeof kEmptyContainer)
            return invalidAtomContainerErr;
        std::vector<std::byte> copy(bytes.begin(), bytes.end());
        // Locks are a matter of the container in memory.
        copy[kLockCountOffset] = copy[kLockCountOffset + 1] = std::byte{0};
        record.media->inputMap = timeline::SharedBytes::adopt(std::move(copy));
        return noErr;
    });
}

OSErr GetMediaInputMap(Media media, QTAtomContainer* inputMap) {
    if (inputMap)
        *inputMap = nullptr;
    return workOnObject("GetMediaInputMap", media, [&](const MediaRecord& record) -> OSErr {
        if (!inputMap)
            return paramErr;
        std::span<const std::byte> bytes = record.media->inputMap;
        if (bytes.empty())
            bytes = std::as_bytes(std::span(kEmptyContainer));
        *inputMap = newHandleWithBytes(bytes);
        return *inputMap ? noErr : memFullErr;
    });
}

}  // namespace TWQuickTime
