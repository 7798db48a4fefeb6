#include "Engines/timeline/Track.h"

namespace TWQuickTime::timeline {

void Track::setEnabled(bool enable) {
    flags = enable ? flags | kTrackEnabled : flags & ~kTrackEnabled;
}

const TrackReferences* Track::referencesOfType(FourCharCode type) const {
    for (const TrackReferences& entry : references) {
        if (entry.type == type)
            return &entry;
    }
    return nullptr;
}

std::uint32_t Track::addReference(FourCharCode type, std::uint32_t trackID) {
    auto* entry = const_cast<TrackReferences*>(referencesOfType(type));
    if (!entry)
        entry = &references.emplace_back(TrackReferences{type, {}});
    entry->trackIDs.push_back(trackID);
    return static_cast<std::uint32_t>(entry->trackIDs.size());
}

bool Track::setReference(FourCharCode type, std::uint32_t index, std::uint32_t trackID) {
    auto* entry = const_cast<TrackReferences*>(referencesOfType(type));
    if (!entry || index == 0 || index > entry->trackIDs.size())
        return false;
    entry->trackIDs[index - 1] = trackID;
    return true;
}

bool Track::deleteReference(FourCharCode type, std::uint32_t index) {
    for (auto entry = references.begin(); entry != references.end(); ++entry) {
        if (entry->type != type)
            continue;
        if (index == 0 || index > entry->trackIDs.size())
            return false;
        entry->trackIDs.erase(entry->trackIDs.begin() + (index - 1));
        if (entry->trackIDs.empty())
            references.erase(entry);
        return true;
    }
    return false;
}

}  // namespace TWQuickTime::timeline
