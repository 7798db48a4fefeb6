// Making, copying and disposing of movies, and what a movie says about itself.
//
// A movie is an opaque object until DisposeMovie; its tracks, media and user data go with it.
// Every call keeps its status for GetMoviesError, and a null, foreign or disposed movie gives
// -2010. A movie belongs to one thread at a time.
//
//     Movie movie = NewMovie(newMovieActive);
//     SetMovieTimeScale(movie, 600);
//     DisposeMovie(movie);
#pragma once

#include "MovieTypes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// An empty movie with 600 units per second; the caller disposes of it.
/// @param flags  newMovieActive
TWQT_EXPORT Movie NewMovie(std::int32_t flags);
TWQT_EXPORT void DisposeMovie(Movie movie);

/// Reads the movie that a data reference leads to; media data stay where they are.
/// @param flags  with newMovieAsyncOK the movie comes back empty, and MoviesTask loads it
/// @param resourceID  may be null; one file holds one movie, and 0 comes back
/// @return -50 for no place or no reference, -2048 when there is no movie in the file
TWQT_EXPORT OSErr NewMovieFromDataRef(Movie* movie, std::int16_t flags, std::int16_t* resourceID,
                                      Handle dataRef, OSType dataRefType);

/// How far the movie has been loaded: one of the kMovieLoadState… values; an error (-1) too for
/// what is no movie.
TWQT_EXPORT std::int32_t GetMovieLoadState(Movie movie);

/// Makes the handle hold the movie atom: everything but the media data, which stay where they are.
TWQT_EXPORT OSErr PutMovieIntoHandle(Movie movie, Handle handle);
/// @param dataRefWasChanged  may be null; false comes back
TWQT_EXPORT OSErr NewMovieFromHandle(Movie* movie, Handle handle, std::int16_t flags,
                                     Boolean* dataRefWasChanged);

/// Called while the movie is flattened; a null procedure removes the present one.
TWQT_EXPORT void SetMovieProgressProc(Movie movie, MovieProgressUPP progressProc, RefCon refCon);
TWQT_EXPORT void GetMovieProgressProc(Movie movie, MovieProgressUPP* progressProc, RefCon* refCon);

/// Units per second. Changing it rescales durations, edits, poster, preview, selection and current
/// time together. A scale of 0 or below: -50.
TWQT_EXPORT void SetMovieTimeScale(Movie movie, TimeScale timeScale);
TWQT_EXPORT TimeScale GetMovieTimeScale(Movie movie);
/// End of the longest track, in movie units; limited to 32 bits.
TWQT_EXPORT TimeValue GetMovieDuration(Movie movie);

/// @param currentTime  may be null
TWQT_EXPORT TimeValue GetMovieTime(Movie movie, TimeRecord* currentTime);
/// Limited to the movie's extent.
TWQT_EXPORT void SetMovieTimeValue(Movie movie, TimeValue newTime);
TWQT_EXPORT TimeValue GetMoviePosterTime(Movie movie);
TWQT_EXPORT void SetMoviePosterTime(Movie movie, TimeValue posterTime);
TWQT_EXPORT ShortFixed GetMoviePreferredVolume(Movie movie);
TWQT_EXPORT void SetMoviePreferredVolume(Movie movie, ShortFixed volume);
TWQT_EXPORT Fixed GetMoviePreferredRate(Movie movie);
TWQT_EXPORT void SetMoviePreferredRate(Movie movie, Fixed rate);

/// Smallest rectangle around all enabled visual tracks, after track and movie matrix; all 0 without
/// one.
TWQT_EXPORT void GetMovieBox(Movie movie, Rect* box);
/// Moves and scales the movie by its matrix, so that its box becomes this one.
TWQT_EXPORT void SetMovieBox(Movie movie, const Rect* box);
/// @param matrix  null sets the identity
TWQT_EXPORT void SetMovieMatrix(Movie movie, const MatrixRecord* matrix);
TWQT_EXPORT void GetMovieMatrix(Movie movie, MatrixRecord* matrix);

}  // namespace TWQuickTime
