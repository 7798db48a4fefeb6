// Where something begins in a movie: samples, sync samples, edits.
//
//     OSType video = VideoMediaType;
//     TimeValue next = -1;
//     GetMovieNextInterestingTime(movie, nextTimeMediaSample, 1, &video, GetMovieTime(movie,
//                                 nullptr), kFixedOne, &next, nullptr);
#pragma once

#include "MovieTypes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

inline constexpr std::int16_t nextTimeMediaSample = 1;
inline constexpr std::int16_t nextTimeMediaEdit = 2;
inline constexpr std::int16_t nextTimeTrackEdit = 4;
inline constexpr std::int16_t nextTimeSyncSample = 8;
inline constexpr std::int16_t nextTimeStep = 0x10;
inline constexpr std::int16_t nextTimeEdgeOK = 0x4000;
inline constexpr std::int16_t nextTimeIgnoreActiveSegment = static_cast<std::int16_t>(0x8000);

/// The next time after `time` at which an enabled track of one of the kinds has something begin.
/// @param flags  what to look for. Without nextTimeEdgeOK a time that equals `time` is passed over
/// @param numMediaTypes  0 looks at all tracks; the types may also be characteristics
/// @param rate  sign is the direction; 0 counts as forward
/// @param interestingTime  may be null; movie units, -1 when there is none
/// @param interestingDuration  may be null; how long it lasts, in movie units
TWQT_EXPORT void GetMovieNextInterestingTime(Movie movie, std::int16_t flags,
                                             std::int16_t numMediaTypes,
                                             const OSType* whichMediaTypes, TimeValue time,
                                             Fixed rate, TimeValue* interestingTime,
                                             TimeValue* interestingDuration);
/// The same for one track.
TWQT_EXPORT void GetTrackNextInterestingTime(Track track, std::int16_t flags, TimeValue time,
                                             Fixed rate, TimeValue* interestingTime,
                                             TimeValue* interestingDuration);

}  // namespace TWQuickTime
