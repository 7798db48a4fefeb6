// The tracks of a movie: making, finding and describing them.
//
// Tracks are numbered from 1 in the movie's own order; a disposed track's followers move down by
// one. A null, foreign or disposed track gives -2009.
//
//     for (ToolboxIndex i = 1; i <= GetMovieTrackCount(movie); ++i)
//         show(GetMovieIndTrack(movie, i));
#pragma once

#include "MovieTypes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

// Flags of GetMovieIndTrackType.
inline constexpr std::int32_t movieTrackMediaType = 1;
inline constexpr std::int32_t movieTrackCharacteristic = 2;
inline constexpr std::int32_t movieTrackEnabledOnly = 4;

/// A new, enabled track at the end of the movie's list.
/// @param width, height  16.16 fixed point
/// @param trackVolume  8.8 fixed point
TWQT_EXPORT Track NewMovieTrack(Movie movie, Fixed width, Fixed height, ShortFixed trackVolume);
/// Takes the track out of its movie, with its media; references to it become empty.
TWQT_EXPORT void DisposeMovieTrack(Track track);

TWQT_EXPORT std::int32_t GetMovieTrackCount(Movie movie);
/// @param index  from 1; otherwise null and -2028
TWQT_EXPORT Track GetMovieIndTrack(Movie movie, ToolboxIndex index);
/// The index-th track of a media type or characteristic; null without an error when there is none.
/// @param flags  movieTrackMediaType or movieTrackCharacteristic, and movieTrackEnabledOnly
TWQT_EXPORT Track GetMovieIndTrackType(Movie movie, ToolboxIndex index, OSType trackType,
                                       std::int32_t flags);
/// @return null and -2029 when no track has that ID
TWQT_EXPORT Track GetMovieTrack(Movie movie, std::int32_t trackID);

TWQT_EXPORT Movie GetTrackMovie(Track track);
TWQT_EXPORT std::int32_t GetTrackID(Track track);
TWQT_EXPORT Boolean GetTrackEnabled(Track track);
TWQT_EXPORT void SetTrackEnabled(Track track, Boolean isEnabled);
/// Lower layers lie nearer to the front.
TWQT_EXPORT std::int16_t GetTrackLayer(Track track);
TWQT_EXPORT void SetTrackLayer(Track track, std::int16_t layer);
TWQT_EXPORT ShortFixed GetTrackVolume(Track track);
TWQT_EXPORT void SetTrackVolume(Track track, ShortFixed volume);
/// @param width, height  16.16 fixed point; each may be null
TWQT_EXPORT void GetTrackDimensions(Track track, Fixed* width, Fixed* height);
TWQT_EXPORT void SetTrackDimensions(Track track, Fixed width, Fixed height);
TWQT_EXPORT void GetTrackMatrix(Track track, MatrixRecord* matrix);
/// @param matrix  null sets the identity
TWQT_EXPORT void SetTrackMatrix(Track track, const MatrixRecord* matrix);
/// Movie units, from movie time 0 to the end of the last edit.
TWQT_EXPORT TimeValue GetTrackDuration(Track track);
/// Where the track's first media plays, in movie units.
TWQT_EXPORT TimeValue GetTrackOffset(Track track);

/// Media units that play at a movie time; -1 when nothing does.
TWQT_EXPORT TimeValue TrackTimeToMediaTime(TimeValue value, Track track);

/// One stretch of a track.
struct TrackEdit {
    TimeValue trackTime = 0;      ///< start, in movie units
    TimeValue trackDuration = 0;  ///< movie units
    TimeValue mediaTime = 0;      ///< media units; -1: nothing plays
    Fixed mediaRate = kFixedOne;
};
TWQT_EXPORT std::int32_t GetTrackEditCount(Track track);
/// @param index  from 1; otherwise -50
TWQT_EXPORT OSErr GetTrackIndEdit(Track track, ToolboxIndex index, TrackEdit* edit);

}  // namespace TWQuickTime
