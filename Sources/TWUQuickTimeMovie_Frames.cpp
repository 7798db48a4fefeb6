#include <algorithm>

#include "BigEndianValue.h"
#include "GWorlds.h"
#include "Handles.h"
#include "ImageDescription.h"
#include "MovieDrawing.h"
#include "Movies.h"
#include "NSBitmapImageRep.h"
#include "NSImage.h"
#include "NSLog.h"
#include "Private/WholeNumber.h"
#include "TWImageUtils.h"
#include "TWLog.h"
#include "TWUQuickTimeMovie.h"
#include "Tracks.h"

namespace TWQuickTime {

OSErr twMovieUncoverProc(Movie, RgnHandle, RefCon) {
    return noErr;
}

namespace {

/// A clone of a movie, drawing nowhere once the scope ends.
class DrawnClone {
  public:
    explicit DrawnClone(Movie movie) : clone_(TWUQuickTimeMovie::createCloneOfMovie(movie)) {}
    ~DrawnClone() {
        if (!clone_)
            return;
        SetMovieCoverProcs(clone_, nullptr, nullptr, 0);
        SetMovieGWorld(clone_, nullptr, nullptr);
        DisposeMovie(clone_);
    }
    DrawnClone(const DrawnClone&) = delete;
    DrawnClone& operator=(const DrawnClone&) = delete;
    operator Movie() const { return clone_; }

  private:
    Movie clone_;
};

void enableOnly(std::int32_t trackID, Movie movie) {
    for (std::int32_t i = GetMovieTrackCount(movie); i > 0; --i) {
        Track track = GetMovieIndTrack(movie, i);
        SetTrackEnabled(track, GetTrackID(track) == trackID);
    }
}

/// The eight bytes of an aspect ratio extension.
struct PixelSpacing {
    BigEndianValue<std::uint32_t> horizontal;
    BigEndianValue<std::uint32_t> vertical;
};
static_assert(sizeof(PixelSpacing) == 8);

}  // namespace

std::shared_ptr<NSImage> TWUQuickTimeMovie::frameImageAtTime(double seconds, Track ofTrack,
                                                             Movie ofMovie, bool withAlpha,
                                                             NSSize withSize) {
    Movie movie = ofTrack && !ofMovie ? GetTrackMovie(ofTrack) : ofMovie;
    const DrawnClone clone(movie);
    if (!clone)
        return nullptr;
    if (ofTrack)
        enableOnly(GetTrackID(ofTrack), clone);
    SetMovieMatrix(clone, nullptr);
    Rect box;
    GetMovieBox(clone, &box);
    if (const OSErr status = GetMoviesError(); status != noErr) {
        TWLog("%s - GetMovieBox returned in error : %d",
              "+[TWUQuickTimeMovie frameImageAtTime:ofTrack:ofMovie:withAlpha:withSize:]", status);
        return nullptr;
    }
    NSSize size = NSMakeSize(box.right - box.left, box.bottom - box.top);
    if (withSize.width > 0 && withSize.height > 0 &&
        (withSize.width != size.width || withSize.height != size.height)) {
        const auto edge = [](double length) {
            return static_cast<std::int16_t>(std::clamp(length, -32768.0, 32767.0));
        };
        box.right = edge(withSize.width);
        box.bottom = edge(withSize.height);
        SetMovieBox(clone, &box);
        size = withSize;
    }
    const std::shared_ptr<NSBitmapImageRep> bitmap =
        TWImageUtils::createNSBitmapImageRepForVImageOperationsWithSize(size);
    if (!bitmap)
        return nullptr;
    std::fill_n(bitmap->bitmapData(), std::ptrdiff_t{bitmap->bytesPerRow()} * bitmap->pixelsHigh(),
                std::uint8_t{0});
    const Rect bounds = {0, 0, static_cast<std::int16_t>(bitmap->pixelsHigh()),
                         static_cast<std::int16_t>(bitmap->pixelsWide())};
    GWorldPtr world = nullptr;
    QTNewGWorldFromPtr(&world, k32ARGBPixelFormat, &bounds, nullptr, nullptr, 0,
                       bitmap->bitmapData(), bitmap->bytesPerRow());
    SetMovieGWorld(clone, world, nullptr);
    SetMovieTimeValue(clone, integerPart<TimeValue>(GetMovieTimeScale(clone) * seconds));
    if (withAlpha)
        SetMovieCoverProcs(clone, twMovieUncoverProc, nullptr, 0);
    const OSErr drawn = MoviesTask(clone, 0);
    SetMovieGWorld(clone, nullptr, nullptr);
    DisposeGWorld(world);
    if (drawn != noErr)
        return nullptr;
    TWImageUtils::convertNSBitmapImageRep(*bitmap, false);
    std::shared_ptr<NSImage> image = NSImage::initWithSize(size);
    image->addRepresentation(bitmap);
    return image;
}

std::shared_ptr<NSImage> TWUQuickTimeMovie::frameImageAtTime(double seconds, Track ofTrack,
                                                             Movie ofMovie) {
    return frameImageAtTime(seconds, ofTrack, ofMovie, true, NSZeroSize);
}

std::shared_ptr<NSImage> TWUQuickTimeMovie::frameImageAtTime(double seconds, Movie ofMovie) {
    return frameImageAtTime(seconds, nullptr, ofMovie);
}

std::shared_ptr<NSImage> TWUQuickTimeMovie::frameImageAtTime(double seconds,
                                                             const NSString& ofMovieAtPath) {
    Movie movie = createMovieFromPath(ofMovieAtPath, fsRdPerm, nullptr, nullptr, nullptr);
    std::shared_ptr<NSImage> image = frameImageAtTime(seconds, movie);
    DisposeMovie(movie);
    return image;
}

double TWUQuickTimeMovie::getMoviePosterTimeInSeconds(Movie movie) {
    if (!movie)
        return 0.0;
    // Whole seconds: the fraction is lost on purpose.
    const TimeScale timeScale = GetMovieTimeScale(movie);
    return timeScale == 0 ? 0.0 : static_cast<double>(GetMoviePosterTime(movie) / timeScale);
}

std::shared_ptr<NSImage> TWUQuickTimeMovie::posterImageOfMovieAtPath(const NSString& path) {
    if (!path)
        return nullptr;
    Movie movie = createMovieFromPath(path, fsRdPerm, nullptr, nullptr, nullptr);
    if (!movie)
        return nullptr;
    std::shared_ptr<NSImage> image = posterImageOfMovie(movie);
    DisposeMovie(movie);
    return image;
}

std::shared_ptr<NSImage> TWUQuickTimeMovie::posterImageOfMovie(Movie movie) {
    double poster = getMoviePosterTimeInSeconds(movie);
    const TimeScale timeScale = GetMovieTimeScale(movie);
    const double length = timeScale == 0 ? 0.0 : GetMovieDuration(movie) / timeScale;
    if (poster <= 0 || poster > length)
        poster = length < 7 ? length * 0.5 : 3.0;
    return frameImageAtTime(poster, movie);
}

std::shared_ptr<NSImage> TWUQuickTimeMovie::imageFromPicHandle(PicHandle picture) {
    if (!picture || !IsHandleValid(picture))
        return nullptr;
    return NSImage::initWithData(
        NSData::dataWithBytes(*picture, static_cast<std::size_t>(GetHandleSize(picture))));
}

void TWUQuickTimeMovie::addPixelAspectRatio(double ratio,
                                            ImageDescriptionHandle toImageDescription) {
    if (ratio == 1.0)
        return;
    Handle extension = NewHandleClear(sizeof(PixelSpacing));
    if (!extension)
        return;
    auto* spacing = reinterpret_cast<PixelSpacing*>(*extension);
    const double thousandths = std::clamp(ratio * 1000.0, -2147483648.0, 2147483647.0);
    spacing->horizontal = static_cast<std::uint32_t>(static_cast<std::int32_t>(thousandths));
    spacing->vertical = 1000;
    AddImageDescriptionExtension(toImageDescription, extension,
                                 kImageDescriptionExtensionPixelAspectRatio);
    DisposeHandle(extension);
}

double TWUQuickTimeMovie::getPixelAspectRatioOfImageDescription(
    ImageDescriptionHandle imageDescription) {
    if (!imageDescription)
        return 1.0;
    PixelSpacing spacing{};
    std::int32_t version = 0;
    if (Gestalt(gestaltQuickTime, &version) == noErr && version >> 24 >= 7) {
        ICMImageDescriptionGetProperty(imageDescription, kICMImageDescriptionPropertyClass,
                                       kImageDescriptionExtensionPixelAspectRatio, sizeof spacing,
                                       &spacing, nullptr);
    } else {
        Handle empty = NewHandle(0);
        if (const OSErr status = MemError(); status != noErr) {
            NSLog("Not enough memory for creating handle. %d", status);
            return 1.0;
        }
        DisposeHandle(empty);
        Handle extension = nullptr;
        spacing.horizontal = 1;
        spacing.vertical = 1;
        if (GetImageDescriptionExtension(imageDescription, &extension,
                                         kImageDescriptionExtensionPixelAspectRatio, 1) == noErr &&
            GetHandleSize(extension) >= static_cast<Size>(sizeof spacing))
            spacing = *reinterpret_cast<const PixelSpacing*>(*extension);
        DisposeHandle(extension);
    }
    if (spacing.horizontal == 0 || spacing.vertical == 0)
        return 1.0;
    return static_cast<double>(spacing.horizontal) / static_cast<double>(spacing.vertical);
}

}  // namespace TWQuickTime
