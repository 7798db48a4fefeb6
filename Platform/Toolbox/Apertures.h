// Aperture modes: which of a track's sizes counts as its size.
//
// A video track may state how large it is with its pixels taken for what they are, with the shape
// of the pixels applied, and with only the clean part counted. In classic mode those are ignored.
//
//     if (!MovieHasApertureModeDimensions(movie)) GenerateMovieApertureModeDimensions(movie);
//     SetMovieApertureMode(movie, kQTApertureMode_CleanAperture);
#pragma once

#include "ToolboxTypes.h"

namespace TWQuickTime {

inline constexpr OSType kQTApertureMode_Classic = fourCC("clas");
inline constexpr OSType kQTApertureMode_CleanAperture = fourCC("clea");
inline constexpr OSType kQTApertureMode_ProductionAperture = fourCC("prod");
inline constexpr OSType kQTApertureMode_EncodedPixels = fourCC("enco");

/// Whether any track has dimensions for the modes.
TWQT_EXPORT Boolean MovieHasApertureModeDimensions(Movie movie);
/// Gives every video track dimensions for the modes, from the clean aperture and pixel aspect ratio
/// of its first sample description; they are stored with the movie.
TWQT_EXPORT OSErr GenerateMovieApertureModeDimensions(Movie movie);
/// The same for one track; -2041 when it has no video sample description.
TWQT_EXPORT OSErr GenerateTrackApertureModeDimensions(Track track);

/// Holds for this movie object and is not stored. Classic at first.
/// @return -50 for what is no mode
TWQT_EXPORT OSErr SetMovieApertureMode(Movie movie, OSType mode);
TWQT_EXPORT OSType GetMovieApertureMode(Movie movie);

/// The size of a track in a mode; its own size where it has no other.
/// @param width, height  16.16 fixed point; each may be null
TWQT_EXPORT OSErr GetTrackApertureModeDimensions(Track track, OSType mode, Fixed* width,
                                                 Fixed* height);

}  // namespace TWQuickTime
