// Class methods around movies: timecode arithmetic and strings, tracks, files, user data, timecode
// tracks.
//
// Timecode arithmetic is plain non-drop-frame counting at a whole number of frames per second;
// 29.97 is passed as 30. Everything else takes a movie or track of the toolbox; null gives a
// neutral answer, and nothing takes a lock: whoever shares a movie between threads holds
// StQuickTimeLock.
//
//     NSString text = TWUQuickTimeMovie::timeCodeStringForFrame(93079, 25, true, true);
//     Movie movie = TWUQuickTimeMovie::createMovieFromPath(path, fsRdPerm, nullptr, nullptr,
//                                                          &status);
//     TWUQuickTimeMovie::setUserDataInt(5, fourCC("cnt1"), movie);
#pragma once

#include <cstdint>
#include <memory>

#include "CGGeometry.h"
#include "FSSpec.h"
#include "ImageDescription.h"
#include "MovieDrawing.h"
#include "NSData.h"
#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"
#include "TimeCodeTime.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class NSImage;
class QTMovie;
/// A picture of drawing opcodes in a handle.
using PicHandle = Handle;

/// Leaves uncovered places as they are; what frames with alpha are drawn with.
TWQT_EXPORT OSErr twMovieUncoverProc(Movie movie, RgnHandle changedRegion, RefCon refCon);

class TWQT_EXPORT TWUQuickTimeMovie {
  public:
    // Timecode. Pure functions; any thread; nothing is logged.

    /// Frame number of a timecode.       (timeCodeToFrame:withFrameRate:)
    /// No field is limited: 90 seconds or 30 frames at rate 25 simply add in, and the sum wraps at
    /// 32 bits. Rate 0 gives the frames field alone.
    static constexpr std::int32_t timeCodeToFrame(TimeCodeTime timeCode,
                                                  std::int32_t withFrameRate) noexcept;

    /// Splits a frame number into a timecode.       (frameToTimeCode:withFrameRate:)
    /// Every field is stored as its low 8 bits: hours are not reduced by days and wrap at 256, and
    /// negative frames give two's-complement bytes (on purpose: frame -1 at 25 is 0, 0, 0, 255).
    /// @param withFrameRate  whole frames per second; 0 gives the all-zero record
    static constexpr TimeCodeTime frameToTimeCode(std::int32_t frame,
                                                  std::int32_t withFrameRate) noexcept;

    /// "MM:SS", with the frames ":FF" behind and the hours "HH:" in front as asked for, and "-" in
    /// front of all for a negative frame.
    /// (timeCodeStringForFrame:withFrameRate:addFrame:addHour:)
    /// @return nil at rate 0. A field of three digits is written with all of them.
    static NSString timeCodeStringForFrame(std::int32_t frame, std::int32_t withFrameRate,
                                           bool addFrame, bool addHour);

    /// The string of the frame that the timecode stands for, so that fields beyond their range come
    /// out carried over.       (timeCodeStringForTimeCode:withFrameRate:addFrame:addHour:)
    static NSString timeCodeStringForTimeCode(TimeCodeTime timeCode, std::int32_t withFrameRate,
                                              bool addFrame, bool addHour);

    /// Reads a typed timecode; groups between ":" are filled from the right, so that "5:12" is 5
    /// seconds 12 frames. A "-" anywhere makes the frame number (not the record) negative.
    /// (timeCodeStringToTCT:withFrameRate:resultTimeCode:resultFrameNumber:)
    /// Characters are judged by their low 8 bits only (on purpose). Fields are clamped silently to
    /// 255, 59, 59 and rate - 1; at rate 0 that leaves 255 in the record's frames and the frame
    /// number -1 (on purpose: callers must not pass 0).
    /// @param resultTimeCode  may be null
    /// @param resultFrameNumber  may be null
    /// @return 0; or -1 with nothing written, for nil or at any other character
    static OSErr timeCodeStringToTCT(const NSString& string, std::int32_t withFrameRate,
                                     TimeCodeTime* resultTimeCode, std::int32_t* resultFrameNumber);

    // Tracks; see UQuickTimeMovie.

    static std::int32_t getTrackCount(Movie movie);
    /// (getFirstTrackOfMovie:forMediaType:)
    static Track getFirstTrackOfMovie(Movie movie, OSType forMediaType);
    /// (createNewAudioTrackInMovie:timeScale:track:media:)
    static OSErr createNewAudioTrackInMovie(Movie movie, TimeScale timeScale, Track* track,
                                            Media* media);
    /// (createNewTrackInMovie:mediaType:width:height:layer:timeScale:track:media:)
    static OSErr createNewTrackInMovie(Movie movie, OSType mediaType, int width, int height,
                                       int layer, TimeScale timeScale, Track* track, Media* media);

    // Movie files and whole movies. Nothing is logged.

    /// Whether the contents of a file are those of a movie.       (isMovieFile:)
    static bool isMovieFile(const NSString& path);
    /// Opens a movie and sets its aperture mode, with dimensions for the modes made first when it
    /// has none; nil for a nil path and what cannot be opened.       (movieWithPath:apertureMode:)
    /// @param apertureMode  one of the QTMovieApertureMode… names
    static std::shared_ptr<QTMovie> movieWithPath(const NSString& path,
                                                  const NSString& apertureMode);
    /// The caller disposes of the movie.
    /// (createMovieFromFSSpec:WithPermissions:outResRefNum:outOSError:)
    /// @param withPermissions  fsRdPerm, fsRdWrPerm …
    /// @param outResRefNum  may be null; the number of a file that is closed already (on purpose):
    ///     not to be closed again
    /// @param outOSError  may be null; set on failure only
    static Movie createMovieFromFSSpec(FSSpec fileSpec, std::int8_t withPermissions,
                                       std::int16_t* outResRefNum, OSErr* outOSError);
    /// The same for a path.
    /// (createMovieFromPath:WithPermissions:outFSSPec:outResRefNum:outOSError:)
    /// @param outFSSPec  may be null; set only when the path names a file
    static Movie createMovieFromPath(const NSString& path, std::int8_t withPermissions,
                                     FSSpec* outFSSPec, std::int16_t* outResRefNum,
                                     OSErr* outOSError);
    /// A copy that refers to the same media data; the caller disposes of it.
    /// (createCloneOfMovie:)
    static Movie createCloneOfMovie(Movie movie);
    /// 0 plays once, 1 loops, 2 goes back and forth.       (getLoopModeOfMovie:)
    static int getLoopModeOfMovie(Movie movie);
    /// Moves to the next video sample, if there is one.       (gotoNextFrame:)
    static void gotoNextFrame(Movie movie);
    /// Moves to the previous video sample, if there is one.       (gotoPreviousFrame:)
    static void gotoPreviousFrame(Movie movie);
    /// Whether any track was removed.       (disposeTracksOfMovie:ofMediaType:)
    static bool disposeTracksOfMovie(Movie movie, OSType ofMediaType);
    /// Whether any track was removed.       (disposeDisabledTracksOfMovie:)
    static bool disposeDisabledTracksOfMovie(Movie movie);
    /// Whether the media handler and an image decompressor for the data format may be used off the
    /// main thread; sound tracks are asked about their decompressor too (on purpose).
    /// (isTrackThreadSafe:)
    static bool isTrackThreadSafe(Track track);
    /// Whether all tracks are; true for a movie without tracks, false for none.
    /// (isMovieThreadSafe:)
    static bool isMovieThreadSafe(Movie movie);

    // Typed user data, always the first item of its key. Getters never fail; setters give -1 for a
    // null movie, else the toolbox's status.

    /// (existsUserDataForKey:inMovie:)
    static bool existsUserDataForKey(OSType key, Movie inMovie);
    /// 0 when there is none.       (getUserDataIntForKey:inMovie:)
    static std::int32_t getUserDataIntForKey(OSType key, Movie inMovie);
    /// (setUserDataInt:forKey:inMovie:)
    static OSErr setUserDataInt(std::int32_t value, OSType forKey, Movie inMovie);
    /// Whether the integer is above 0.       (getUserDataBOOLForKey:inMovie:)
    static bool getUserDataBOOLForKey(OSType key, Movie inMovie);
    /// (setUserDataBOOL:forKey:inMovie:)
    static OSErr setUserDataBOOL(bool value, OSType forKey, Movie inMovie);
    /// 0 when there is none.       (getUserDataFloatForKey:inMovie:)
    static float getUserDataFloatForKey(OSType key, Movie inMovie);
    /// Stores the number that the float's 32 bits are as an integer, converted to a float (on
    /// purpose): 1.0 comes back as 1065353216.0.       (setUserDataFloat:forKey:inMovie:)
    static OSErr setUserDataFloat(float value, OSType forKey, Movie inMovie);
    /// Nil without the data or without its length under the key + 1.
    /// (getMovieUserDataForKey:inMovie:)
    static NSData getMovieUserDataForKey(OSType key, Movie inMovie);
    /// Stores the data, and its length under the key + 1.       (setMovieUserData:forKey:inMovie:)
    static OSErr setMovieUserData(const NSData& data, OSType forKey, Movie inMovie);
    /// Nil without data, and for data that are no archive of a dictionary.
    /// (getMovieUserDictionaryForKey:inMovie:)
    static NSDictionary getMovieUserDictionaryForKey(OSType key, Movie inMovie);
    /// Stores a keyed archive as data.       (setMovieUserDictionary:forKey:inMovie:)
    static OSErr setMovieUserDictionary(const NSDictionary& dictionary, OSType forKey,
                                        Movie inMovie);

    // Timecode tracks. Nothing is logged.

    /// Adds a disabled timecode track over the whole movie.
    /// (addTimeCode:toMovie:withFrameRate:)
    /// The definition says "drop frame" at any rate (on purpose).
    /// @param withFrameRate  whole frames per second
    /// @return 0 also when no track or media could be made (on purpose)
    static OSErr addTimeCode(TimeCodeTime start, Movie toMovie, int withFrameRate);
    /// Timecode at the beginning of the first timecode track; all zero when there is none.
    /// (getStartTimeCodeOfMovie:)
    static TimeCodeTime getStartTimeCodeOfMovie(Movie movie);
    /// (hasMovieTimeCodeTrack:)
    static bool hasMovieTimeCodeTrack(Movie movie);
    /// The handler of the first timecode track, or null.       (getTimeCodeMediaHandlerOfMovie:)
    static MediaHandler getTimeCodeMediaHandlerOfMovie(Movie movie);
    /// Removes the first timecode track; whether there was one.  (removeTimeCodeTrackOfMovie:)
    static bool removeTimeCodeTrackOfMovie(Movie movie);

    // Frames as images, 32 bits R G B A. Drawing works on a clone: the movie stays as it is.
    // Decoders are kept with the movie for its next frame; disposing of the movie frees them.

    /// What a movie, or one track of it alone, shows at a time; nil when that cannot be drawn.
    /// (frameImageAtTime:ofTrack:ofMovie:withAlpha:withSize:)
    /// @param seconds  cut to the movie's time units
    /// @param ofTrack  null for all enabled tracks
    /// @param ofMovie  may be null when a track is given
    /// @param withAlpha  places that nothing covers are transparent, else opaque black
    /// @param withSize  pixels; with either side 0 or less the movie's own size
    static std::shared_ptr<NSImage> frameImageAtTime(double seconds, Track ofTrack, Movie ofMovie,
                                                     bool withAlpha, NSSize withSize);
    /// With alpha, at the movie's size.       (frameImageAtTime:ofTrack:ofMovie:)
    static std::shared_ptr<NSImage> frameImageAtTime(double seconds, Track ofTrack, Movie ofMovie);
    /// (frameImageAtTime:ofMovie:)
    static std::shared_ptr<NSImage> frameImageAtTime(double seconds, Movie ofMovie);
    /// (frameImageAtTime:ofMovieAtPath:)
    static std::shared_ptr<NSImage> frameImageAtTime(double seconds, const NSString& ofMovieAtPath);
    /// The frame at the movie's poster time, or at 3 seconds (the middle of movies below 7) when it
    /// has none.       (posterImageOfMovieAtPath:)
    static std::shared_ptr<NSImage> posterImageOfMovieAtPath(const NSString& path);
    /// The same of a movie that is open; it stays so.
    static std::shared_ptr<NSImage> posterImageOfMovie(Movie movie);
    /// Whole seconds: the fraction is cut on purpose.       (getMoviePosterTimeInSeconds:)
    static double getMoviePosterTimeInSeconds(Movie movie);
    /// Nil for a handle that holds no picture.       (imageFromPicHandle:)
    static std::shared_ptr<NSImage> imageFromPicHandle(PicHandle picture);

    /// Adds the extension 'pasp' (ratio x 1000 : 1000, cut to whole numbers); nothing for 1.0.
    /// (addPixelAspectRatio:toImageDescription:)
    static void addPixelAspectRatio(double ratio, ImageDescriptionHandle toImageDescription);
    /// Width of a pixel over its height; 1.0 in every doubtful case.
    /// (getPixelAspectRatioOfImageDescription:)
    static double getPixelAspectRatioOfImageDescription(ImageDescriptionHandle imageDescription);
};

constexpr std::int32_t TWUQuickTimeMovie::timeCodeToFrame(TimeCodeTime timeCode,
                                                          std::int32_t withFrameRate) noexcept {
    const std::uint32_t seconds =
        timeCode.hours * 3600u + timeCode.minutes * 60u + timeCode.seconds;
    return static_cast<std::int32_t>(seconds * static_cast<std::uint32_t>(withFrameRate) +
                                     timeCode.frames);
}

constexpr TimeCodeTime TWUQuickTimeMovie::frameToTimeCode(std::int32_t frame,
                                                          std::int32_t withFrameRate) noexcept {
    if (withFrameRate == 0)
        return {};
    // The one quotient that does not fit, the least frame at rate -1, wraps like all the rest.
    const std::int32_t totalSeconds =
        withFrameRate == -1 ? static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(frame))
                            : frame / withFrameRate;
    const std::int32_t totalMinutes = totalSeconds / 60;
    const std::int32_t totalHours = totalMinutes / 60;
    const std::uint32_t frames =
        static_cast<std::uint32_t>(frame) -
        static_cast<std::uint32_t>(totalSeconds) * static_cast<std::uint32_t>(withFrameRate);
    return {static_cast<std::uint8_t>(totalHours),
            static_cast<std::uint8_t>(totalMinutes - 60 * totalHours),
            static_cast<std::uint8_t>(totalSeconds - 60 * totalMinutes),
            static_cast<std::uint8_t>(frames)};
}

}  // namespace TWQuickTime
