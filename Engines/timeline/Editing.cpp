// Editing a movie: what its tracks show, and when.
#include <algorithm>

#include "Engines/timeline/Movie.h"

namespace TWQuickTime::timeline {

using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

std::uint32_t mediaScaleOf(const Track& track) {
    return track.media ? track.media->timeScale : 1;
}

}  // namespace

Status insertMedia(Movie& movie, Track& track, std::int64_t trackStart, std::int64_t mediaStart,
                   std::int64_t mediaDuration, Fixed rate) {
    if (!track.media)
        return Failure{FailureKind::badArgument, "the track has no media"};
    const std::uint32_t mediaScale = track.media->timeScale;
    if (mediaScale == 0 || movie.timeScale == 0)
        return Failure{FailureKind::damaged, "a time scale of 0"};
    if (rate <= 0)
        return Failure{FailureKind::badArgument, "media are inserted at a rate above 0"};
    if (mediaDuration <= 0)
        return Failure{FailureKind::badArgument, "media are inserted for a duration above 0"};
    const std::int64_t mediaEnd = addSaturating(mediaStart, mediaDuration);
    if (mediaStart < 0 || mediaEnd > track.media->duration())
        return Failure{FailureKind::badArgument, "the range passes the ends of the media"};
    if (trackStart < -1)
        return Failure{FailureKind::badArgument, "a track begins at time 0"};

    Edit edit;
    edit.duration = std::max<std::int64_t>(
        1, rescale(mediaDuration, static_cast<std::int64_t>(mediaScale) * rate,
                   static_cast<std::int64_t>(movie.timeScale) * kFixedOne));
    edit.mediaTime = mediaStart;
    edit.rate = rate;
    track.edits.insert(trackStart == -1 ? track.duration() : trackStart, edit, movie.timeScale,
                       mediaScale);
    return {};
}

Status insertEmptySegment(Movie& movie, std::int64_t start, std::int64_t duration) {
    if (start < 0 || duration <= 0)
        return Failure{FailureKind::badArgument, "an empty segment has a start and a duration"};
    for (const auto& track : movie.tracks) {
        // Behind its end a track is empty anyway.
        if (start < track->duration())
            track->edits.insert(start, {duration, kEmptyMediaTime, kFixedOne}, movie.timeScale,
                                mediaScaleOf(*track));
    }
    return {};
}

Status deleteSegment(Movie& movie, std::int64_t start, std::int64_t duration) {
    if (start < 0 || duration <= 0)
        return Failure{FailureKind::badArgument, "a segment has a start and a duration"};
    for (const auto& track : movie.tracks)
        track->edits.remove(start, duration, movie.timeScale, mediaScaleOf(*track));
    return {};
}

}  // namespace TWQuickTime::timeline
