// What movies, tracks, media and user data lists of the toolbox consist of.
//
// A record refers to its part of the movie model (Engines/timeline). Records of tracks and media
// are made when they are first asked for and live as long as what they stand for.
//
//     MovieRecord* record = liveMovie(movie);      // null for what is no movie
//     if (!record) return call.fail(invalidMovie);
//     record->movie->timeScale;
#pragma once

#include <memory>
#include <unordered_map>

#include "Engines/timeline/ApertureMode.h"
#include "Engines/timeline/Movie.h"
#include "MovieTypes.h"
#include "Private/LiveObjects.h"

namespace TWQuickTime {

class CloneDecoders;
class MovieAtomUse;
class MovieLoading;
struct MovieDrawing;
class MovieStorage;

struct UserDataRecord {
    /// A list that belongs to a movie, track or media.
    explicit UserDataRecord(timeline::UserData& owner) : list(&owner) {}
    /// A list of its own.
    UserDataRecord() : own(std::make_unique<timeline::UserData>()), list(own.get()) {}

    LiveObject<UserDataRecord> live{this};
    std::unique_ptr<timeline::UserData> own;
    timeline::UserData* list;
};

struct MediaRecord {
    MediaRecord(TrackRecord& owner, timeline::Media& part) : track(&owner), media(&part) {}
    ~MediaRecord();

    LiveObject<MediaRecord> live{this};
    TrackRecord* track;
    timeline::Media* media;
    bool editing = false;
    MediaHandler handler = nullptr;  ///< opened when it is first asked for
    std::int32_t timeCodeFlags = 0;  ///< of the timecode media handler
    std::unique_ptr<UserDataRecord> userData;
};

struct TrackRecord {
    TrackRecord(MovieRecord& owner, timeline::Track& part) : movie(&owner), track(&part) {}

    LiveObject<TrackRecord> live{this};
    MovieRecord* movie;
    timeline::Track* track;
    std::unique_ptr<MediaRecord> media;
    std::unique_ptr<UserDataRecord> userData;

    /// Null while the track has no media.
    MediaRecord* mediaRecord();
};

struct MovieRecord {
    explicit MovieRecord(std::unique_ptr<timeline::Movie> model);
    ~MovieRecord();

    LiveObject<MovieRecord> live{this};
    std::unique_ptr<timeline::Movie> movie;
    std::unordered_map<const timeline::Track*, std::unique_ptr<TrackRecord>> tracks;
    std::unique_ptr<UserDataRecord> userData;
    MovieProgressUPP progressProc = nullptr;
    RefCon progressRefCon = 0;
    /// Which size of its tracks counts; not stored with the movie.
    timeline::ApertureMode apertureMode = timeline::ApertureMode::classic;
    /// Where the movie was read from; none for a movie that never was in a file.
    std::shared_ptr<timeline::SampleStore> file;
    /// Where new samples go; without one they are kept in memory until the movie is written.
    std::shared_ptr<MovieStorage> storage;
    std::shared_ptr<timeline::SampleStore> memory;
    /// The part of its file that the movie still reads tables from.
    std::unique_ptr<MovieAtomUse> atomUse;
    /// What still loads the movie, or failed to; none for one that was opened at once.
    std::unique_ptr<MovieLoading> loading;
    /// World, procedures and decoders of drawing; none until the movie is drawn.
    std::unique_ptr<MovieDrawing> drawing;
    /// Of the movie's clones; none until it was put into a handle.
    std::shared_ptr<CloneDecoders> cloneDecoders;

    TrackRecord& trackRecord(timeline::Track& track);
};

/// The record, or null for what is none (any more).
inline MovieRecord* liveMovie(Movie movie) {
    return LiveObjects<MovieRecord>::shared().find(movie);
}
inline TrackRecord* liveTrack(Track track) {
    return LiveObjects<TrackRecord>::shared().find(track);
}
inline MediaRecord* liveMedia(Media media) {
    return LiveObjects<MediaRecord>::shared().find(media);
}
inline UserDataRecord* liveUserData(UserData userData) {
    return LiveObjects<UserDataRecord>::shared().find(userData);
}

/// Hands a movie model over to a new movie of the toolbox, which the caller disposes of.
Movie newMovieRecord(std::unique_ptr<timeline::Movie> model);

/// Time now, as files count it: seconds since 1904-01-01 00:00 UTC.
std::uint64_t currentMovieFileTime();

/// A 64-bit time as the 32 bits of the interface, limited to their range.
TimeValue limitedTimeValue(std::int64_t value);

}  // namespace TWQuickTime
