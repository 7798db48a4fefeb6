// Additions to QTMovie: opening with an aperture mode, frames as pictures, recognising movie files.
//
//     NSError error;
//     auto movie = QTMovie_TWAdditions::movieWithFile(path, QTMovieApertureModeClean, &error);
//     CGImageRef frame = QTMovie_TWAdditions::imageAtTime(*movie, 2.5, NSZeroSize, &error);
//     …
//     CGImageRelease(frame);
#pragma once

#include <memory>

#include "CGGeometry.h"
#include "CGImage.h"
#include "NSError.h"
#include "NSString.h"
#include "QTMovie.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT QTMovie_TWAdditions {
  public:
    /// Opens a movie and sets its aperture mode, with dimensions for the modes made first when it
    /// has none.       (movieWithFile:apertureMode:error:)
    /// @param error  may be null; nil on success
    static std::shared_ptr<QTMovie> movieWithFile(const NSString& fileName,
                                                  const NSString& apertureMode, NSError* error);
    /// The movie's frame, which the caller releases; null on failure. (imageAtTime:size:error:)
    /// @param size  pixels; NSZeroSize for the movie's own
    static CGImageRef imageAtTime(QTMovie& movie, double seconds, NSSize size, NSError* error);
    /// As TWUQuickTimeMovie::isMovieFile.       (isMovieFile:)
    static bool isMovieFile(const NSString& path);
};

}  // namespace TWQuickTime
