// The movie in memory: a time scale, tracks, and what holds for all of them.
//
//     Movie movie;
//     Track& track = movie.addTrack({.width = 640 << 16, .height = 480 << 16}, 0);
//     track.media = makeMedia(fourCharCode("vide"), 600);
//     insertMedia(movie, track, 0, 0, track.media->duration());
//
// Plain values: whoever changes them keeps them in range; the writer refuses what a file cannot
// hold. A movie belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Engines/timeline/Track.h"

namespace TWQuickTime::timeline {

struct Movie {
    std::uint32_t timeScale = 600;       ///< units per second, at least 1; see setTimeScale
    std::uint64_t creationTime = 0;      ///< seconds since 1904-01-01 00:00 UTC
    std::uint64_t modificationTime = 0;  ///< seconds since 1904-01-01 00:00 UTC
    Fixed preferredRate = kFixedOne;
    std::int16_t preferredVolume = 0x100;  ///< 8.8
    Matrix matrix = kIdentityMatrix;
    // All in movie time units.
    std::int64_t previewTime = 0;
    std::int64_t previewDuration = 0;
    std::int64_t posterTime = 0;
    std::int64_t selectionTime = 0;
    std::int64_t selectionDuration = 0;
    std::int64_t currentTime = 0;
    /// The least ID for the next new track; addTrack passes over IDs that are in use.
    std::uint32_t nextTrackID = 1;
    /// Owned one by one, so that a track's address holds as long as it is in the movie.
    std::vector<std::unique_ptr<Track>> tracks;
    UserData userData;
    std::shared_ptr<const Origin> origin;

    /// The end of the longest track, in movie time units.
    std::int64_t duration() const;

    /// Adds an empty track behind the others, with an ID of its own.
    Track& addTrack(Dimensions dimensions, std::int16_t volume);
    /// Takes a track out and empties the slots that refer to it. False when it is not in here.
    bool deleteTrack(const Track* track);
    Track* trackWithID(std::uint32_t id) const;
    /// The n-th track, n from 1, of a media type (0: of any); null when there are fewer.
    Track* trackOfType(FourCharCode mediaType, std::size_t index = 1) const;

    /// Changes the time scale and restates, in it, all durations, edits, and the preview, poster,
    /// selection and current times. `badArgument` for 0.
    result::Status setTimeScale(std::uint32_t newTimeScale);
};

/// A media of a type without samples and without data references.
std::unique_ptr<Media> makeMedia(FourCharCode type, std::uint32_t timeScale);

/// Shows a range of the track's media from a track time on. The duration on the track is
/// mediaDuration ÷ rate in movie time; what is there already moves up.
/// @param trackStart     movie time units; −1: at the end of the track
/// @param mediaStart     media time units
/// @param mediaDuration  media time units, more than 0
/// @param rate           more than 0
result::Status insertMedia(Movie& movie, Track& track, std::int64_t trackStart,
                           std::int64_t mediaStart, std::int64_t mediaDuration,
                           Fixed rate = kFixedOne);

/// Inserts silence or emptiness into every track, so that what follows moves up.
result::Status insertEmptySegment(Movie& movie, std::int64_t start, std::int64_t duration);

/// Takes a range out of every track.
result::Status deleteSegment(Movie& movie, std::int64_t start, std::int64_t duration);

}  // namespace TWQuickTime::timeline
