#include <algorithm>
#include <cmath>
#include <vector>

#include "CGContext.h"
#include "GWorlds.h"
#include "MovieDrawing.h"
#include "Movies.h"
#include "QTMovie.h"

namespace TWQuickTime {
namespace {

/// Puts time, matrix and world of a movie back as they were.
class DrawingState {
  public:
    explicit DrawingState(Movie movie) : movie_(movie), time_(GetMovieTime(movie, nullptr)) {
        GetMovieMatrix(movie, &matrix_);
        GetMovieGWorld(movie, &port_, &device_);
    }
    ~DrawingState() {
        SetMovieCoverProcs(movie_, nullptr, nullptr, 0);
        SetMovieGWorld(movie_, port_, device_);
        SetMovieMatrix(movie_, &matrix_);
        SetMovieTimeValue(movie_, time_);
    }
    DrawingState(const DrawingState&) = delete;
    DrawingState& operator=(const DrawingState&) = delete;

  private:
    Movie movie_;
    TimeValue time_;
    MatrixRecord matrix_;
    CGrafPtr port_ = nullptr;
    const void* device_ = nullptr;
};

OSErr keepUncovered(Movie, RgnHandle, RefCon) {
    return noErr;
}

TimeValue inMovieUnits(QTTime time, TimeScale timeScale) {
    if (time.timeScale <= 0)
        return 0;
    const double units = static_cast<double>(time.timeValue) * timeScale / time.timeScale;
    return static_cast<TimeValue>(std::clamp(std::floor(units), 0.0, 2147483647.0));
}

/// Pixels that the movie has drawn itself into, as an image.
CGImageRef imageOf(std::vector<std::uint8_t>& pixels, int width, int height) {
    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    CGContextRef context = CGBitmapContextCreate(
        pixels.data(), static_cast<std::size_t>(width), static_cast<std::size_t>(height), 8,
        static_cast<std::size_t>(width) * 4, space, kCGImageAlphaPremultipliedFirst);
    CGImageRef image = CGBitmapContextCreateImage(context);
    CGContextRelease(context);
    CGColorSpaceRelease(space);
    return image;
}

OSErr drawFrame(Movie movie, TimeValue time, const NSArray& sizeValue, CGImageRef* image) {
    const DrawingState kept(movie);
    Rect box;
    GetMovieBox(movie, &box);
    int width = box.right - box.left;
    int height = box.bottom - box.top;
    if (sizeValue.count() == 2) {
        width = std::clamp(sizeValue.objectAtIndex(0).intValue(), 0, 32767);
        height = std::clamp(sizeValue.objectAtIndex(1).intValue(), 0, 32767);
    }
    if (width < 1 || height < 1)
        return paramErr;
    const Rect wanted = {0, 0, static_cast<std::int16_t>(height), static_cast<std::int16_t>(width)};
    if (wanted != box)
        SetMovieBox(movie, &wanted);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * 4 *
                                     static_cast<std::size_t>(height));
    GWorldPtr world = nullptr;
    OSErr status = QTNewGWorldFromPtr(&world, k32ARGBPixelFormat, &wanted, nullptr, nullptr, 0,
                                      pixels.data(), width * 4);
    if (status != noErr)
        return status;
    SetMovieGWorld(movie, world, nullptr);
    SetMovieCoverProcs(movie, keepUncovered, nullptr, 0);
    SetMovieTimeValue(movie, time);
    status = MoviesTask(movie, 0);
    DisposeGWorld(world);
    if (status == noErr)
        *image = imageOf(pixels, width, height);
    return status;
}

}  // namespace

NSArray QTMovie::frameImageSizeValue(NSSize size) {
    NSArray value = NSArray::array();
    value.addObject(size.width);
    value.addObject(size.height);
    return value;
}

CGImageRef QTMovie::frameImageAtTime(QTTime time, const NSDictionary& withAttributes,
                                     NSError* error) {
    if (error)
        *error = nullptr;
    const NSString type = withAttributes.objectForKey(QTMovieFrameImageType).stringValue();
    CGImageRef image = nullptr;
    OSErr status = paramErr;
    if (type.isNil() || type == QTMovieFrameImageTypeCGImageRef)
        status = drawFrame(movie_, inMovieUnits(time, GetMovieTimeScale(movie_)),
                           withAttributes.objectForKey(QTMovieFrameImageSize).arrayValue(), &image);
    if (status != noErr && error)
        *error = NSError::errorWithDomain(NSOSStatusErrorDomain, status);
    return image;
}

}  // namespace TWQuickTime
