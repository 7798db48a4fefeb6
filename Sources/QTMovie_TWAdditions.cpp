#include "QTMovie_TWAdditions.h"

#include "TWUQuickTimeMovie.h"

namespace TWQuickTime {

std::shared_ptr<QTMovie> QTMovie_TWAdditions::movieWithFile(const NSString& fileName,
                                                            const NSString& apertureMode,
                                                            NSError* error) {
    NSError failure;
    std::shared_ptr<QTMovie> movie;
    if (fileName)
        movie = QTMovie::movieWithFile(fileName, &failure);
    if (error)
        *error = failure;
    if (!movie)
        return nullptr;
    if (!movie->attributeForKey(QTMovieHasApertureModeDimensionsAttribute).boolValue())
        movie->generateApertureModeDimensions();
    movie->setAttribute(apertureMode, QTMovieApertureModeAttribute);
    return movie;
}

CGImageRef QTMovie_TWAdditions::imageAtTime(QTMovie& movie, double seconds, NSSize size,
                                            NSError* error) {
    NSDictionary attributes = {
        {QTMovieFrameImageType, QTMovieFrameImageTypeCGImageRef},
    };
    if (size != NSZeroSize)
        attributes.setObject(QTMovie::frameImageSizeValue(size), QTMovieFrameImageSize);
    return movie.frameImageAtTime(QTMakeTimeWithTimeInterval(seconds), attributes, error);
}

bool QTMovie_TWAdditions::isMovieFile(const NSString& path) {
    return TWUQuickTimeMovie::isMovieFile(path);
}

}  // namespace TWQuickTime
