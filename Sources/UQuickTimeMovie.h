// Static functions on movies: tracks and their media, durations, flattening, volume tweens.
//
// Statuses are the toolbox's own; what goes wrong is logged. Nothing here takes a lock.
//
//     Track track = nullptr;
//     Media media = nullptr;
//     OSErr status = UQuickTimeMovie::CreateNewVideoTrack(movie, 640, 480, 0, 600, &track, &media);
#pragma once

#include <cstdint>

#include "MovieExport.h"
#include "NSString.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT UQuickTimeMovie {
  public:
    /// A track with its media. A track that was made stays when its media cannot be made.
    /// @param inWidth, inHeight  whole pixels
    /// @param inLayer  0 leaves the new track's layer alone
    /// @param inTimeScale  of the media, units per second; 0 leaves it to the toolbox
    /// @param outTrack, outMedia  each may be null; set as soon as the object exists
    /// @return -50 for a null movie or a time scale below 0
    static OSErr CreateNewTrack(Movie inMovie, OSType inMediaType, int inWidth, int inHeight,
                                int inLayer, TimeScale inTimeScale, Track* outTrack,
                                Media* outMedia);
    static OSErr CreateNewVideoTrack(Movie inMovie, int inWidth, int inHeight, int inLayer,
                                     TimeScale inTimeScale, Track* outTrack, Media* outMedia);
    static OSErr CreateNewAudioTrack(Movie inMovie, TimeScale inTimeScale, Track* outTrack,
                                     Media* outMedia);

    /// 0 for a null movie.
    static std::int32_t GetTrackCount(Movie inMovie);
    /// Stops at the first track that the toolbox cannot tell about and gives the count so far. A
    /// track without media counts as one of the type of the track before it (on purpose).
    static std::int32_t GetTrackCountForMediaType(Movie inMovie, OSType inMediaType);
    /// The index-th track of a type, from 1, by the same rules; null when there is none.
    static Track GetTrackForMediaTypeAtIndex(Movie inMovie, OSType inMediaType, int inIndex);
    static std::int32_t GetVideoTrackCount(Movie inMovie);
    static std::int32_t GetAudioTrackCount(Movie inMovie);
    static std::int32_t GetTweenTrackCount(Movie inMovie);
    static Track GetAudioTrackAtIndex(Movie inMovie, int inIndex);
    /// Always the first one; the index is ignored (on purpose).
    static Track GetVideoTrackAtIndex(Movie inMovie, int inIndex);
    /// Always the first one; the index is ignored (on purpose).
    static Track GetTweenTrackAtIndex(Movie inMovie, int inIndex);

    /// Duration of the movie in a file.
    /// @param outSeconds  0 when it cannot be opened
    /// @return 0 for a nil path
    static OSErr GetDuration(const NSString& inPath, double& outSeconds);

    /// Writes a self-contained copy of the movie, replacing the file.
    /// @param inCreator  creator code of the file
    static OSErr FlattenMovieToFile(Movie inMovie, const NSString& inPath, OSType inCreator);

    /// Makes a file with an open exporter out of the pictures that a procedure hands over.
    /// @param inTimeScale  of the procedure's times, units per second
    /// @return -50, and the exporter is not touched, when anything but the time scale is null
    static OSErr RenderMovie(const NSString& inPath, TimeScale inTimeScale,
                             ComponentInstance inExporter,
                             MovieExportGetPropertyUPP inGetPropertyProc,
                             MovieExportGetDataUPP inGetDataProc, void* inRefCon);

    /// Adds a track that fades an audio track in, holds it and fades it out.
    /// @param inTime  four times in seconds from the movie's start: the fade in begins, it ends,
    ///     the fade out begins, it ends; none before the one in front of it
    /// @param inVolume  1.0 is full (stored as 255, on purpose)
    /// @return -50 for null objects and times that go back; otherwise the first failing status. A
    ///     tween track that was made before a failure stays.
    static OSErr CreateNewTweenTrackForAudioTrack(Movie inMovie, Track inAudioTrack,
                                                  const double* inTime, double inVolume);
};

}  // namespace TWQuickTime
