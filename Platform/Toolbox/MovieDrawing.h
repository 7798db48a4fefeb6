// Drawing what a movie shows into an offscreen world.
//
//     SetMovieGWorld(movie, world, nullptr);
//     SetMovieTimeValue(movie, 300);
//     MoviesTask(movie, 0);                        // the frame of time 300 is in the world now
//     SetMovieGWorld(movie, nullptr, nullptr);
//
// Places of the movie box that no track covers are erased to opaque black, unless a cover procedure
// is installed, which then answers for them. A movie and its world are used by one thread at a
// time. Decoders are kept between draws of one movie, so that stepping forward decodes each frame
// once; those of a clone (PutMovieIntoHandle, NewMovieFromHandle) are kept for the next clone until
// the original is disposed of.
#pragma once

#include <cstdint>

#include "GWorlds.h"
#include "MovieTypes.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Regions are not described: the procedure's is always null and stands for the whole movie box.
using RgnHandle = struct OpaqueRgn*;
/// @return noErr
using MovieRgnCoverUPP = OSErr (*)(Movie movie, RgnHandle changedRegion, RefCon refCon);

/// @param port  a world of 24 or 32 bits, which must live until another is set; null for none
/// @param device  null
TWQT_EXPORT void SetMovieGWorld(Movie movie, CGrafPtr port, const void* device);
TWQT_EXPORT void GetMovieGWorld(Movie movie, CGrafPtr* port, const void** device);
/// @param uncoverProc  called before each draw into a world that keeps its uncovered places; null
///     for none
/// @param coverProc  kept, never called: what covers a movie's places is its tracks alone
TWQT_EXPORT void SetMovieCoverProcs(Movie movie, MovieRgnCoverUPP uncoverProc,
                                    MovieRgnCoverUPP coverProc, RefCon refCon);
/// Gives a movie that was opened with newMovieAsyncOK a turn of loading, and draws the frame of the
/// movie's current time into its box in its world, if it has one.
/// @param movie  null for none
/// @param maxMilliSecToUse  0; a turn takes some milliseconds, and one frame is drawn however long
/// it takes
/// @return also through GetMoviesError(): the decoder's status when the frame cannot be decoded
TWQT_EXPORT OSErr MoviesTask(Movie movie, std::int32_t maxMilliSecToUse);

}  // namespace TWQuickTime
