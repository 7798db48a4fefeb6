#include "Engines/timeline/Movie.h"

#include <algorithm>
#include <limits>

namespace TWQuickTime::timeline {

using result::Failure;
using result::FailureKind;
using result::Status;

std::int64_t Movie::duration() const {
    std::int64_t longest = 0;
    for (const auto& track : tracks)
        longest = std::max(longest, track->duration());
    return longest;
}

Track& Movie::addTrack(Dimensions dimensions, std::int16_t volume) {
    nextTrackID = std::max(1u, nextTrackID);
    while (trackWithID(nextTrackID))
        ++nextTrackID;
    auto track = std::make_unique<Track>();
    track->id = nextTrackID++;
    track->dimensions = dimensions;
    track->volume = volume;
    tracks.push_back(std::move(track));
    return *tracks.back();
}

bool Movie::deleteTrack(const Track* track) {
    const auto found = std::find_if(tracks.begin(), tracks.end(),
                                    [track](const auto& owned) { return owned.get() == track; });
    if (found == tracks.end())
        return false;
    const std::uint32_t id = track->id;
    tracks.erase(found);
    for (const auto& other : tracks) {
        for (TrackReferences& references : other->references)
            std::replace(references.trackIDs.begin(), references.trackIDs.end(), id, 0u);
    }
    return true;
}

Track* Movie::trackWithID(std::uint32_t id) const {
    for (const auto& track : tracks) {
        if (track->id == id)
            return track.get();
    }
    return nullptr;
}

Track* Movie::trackOfType(FourCharCode mediaType, std::size_t index) const {
    for (const auto& track : tracks) {
        const bool fits = mediaType == 0 || (track->media && track->media->type() == mediaType);
        if (fits && index != 0 && --index == 0)
            return track.get();
    }
    return nullptr;
}

Status Movie::setTimeScale(std::uint32_t newTimeScale) {
    if (newTimeScale == 0)
        return Failure{FailureKind::badArgument, "a time scale is at least 1"};
    const auto restate = [&](std::int64_t& time) { time = rescale(time, timeScale, newTimeScale); };
    const auto restateRange = [&](std::int64_t& start, std::int64_t& duration) {
        std::int64_t end = addSaturating(start, duration);
        restate(end);
        restate(start);
        duration = end - start;
    };
    restateRange(previewTime, previewDuration);
    restateRange(selectionTime, selectionDuration);
    restate(posterTime);
    restate(currentTime);
    for (const auto& track : tracks) {
        track->edits.rescaleDurations(timeScale, newTimeScale);
        if (!track->preload)
            continue;
        std::int64_t start = track->preload->startTime;
        std::int64_t duration = track->preload->duration;
        restateRange(start, duration);
        constexpr std::int64_t kGreatest = std::numeric_limits<std::uint32_t>::max();
        track->preload->startTime = static_cast<std::uint32_t>(std::min(start, kGreatest));
        track->preload->duration = static_cast<std::uint32_t>(std::min(duration, kGreatest));
    }
    timeScale = newTimeScale;
    return {};
}

}  // namespace TWQuickTime::timeline
