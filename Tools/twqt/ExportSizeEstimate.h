// How large the file of an export will be, as far as that can be said before it is made: by the
// data rate where one is set, else by what the codec usually needs for such pictures and sound.
#pragma once

#include "ExporterFields.h"
#include "ToolboxTypes.h"

namespace twqt {

/// What an export starts from, and what it leads to for the one after it.
struct MediaShape {
    double widthInPixels = 0;  ///< 0: no pictures
    double heightInPixels = 0;
    double framesPerSecond = 0;
    bool hasSound = false;

    static MediaShape ofMovie(TWQuickTime::Movie movie);
};

/// Bytes for a second, within a factor of two or three.
/// @param shape  of the source; becomes that of the result
double estimatedBytesPerSecond(const ExporterFields& settings, MediaShape& shape);

}  // namespace twqt
