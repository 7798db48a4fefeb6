#include "UQuickTimeMovie.h"

#include "Media.h"
#include "MovieStorage.h"
#include "Movies.h"
#include "StDataRef.h"
#include "TWLog.h"
#include "Tracks.h"

namespace TWQuickTime {
namespace {

constexpr const char* kSourceFile = "Sources/UQuickTimeMovie";

/// Visits the tracks of a movie with the type that each is judged by, until the visitor returns
/// false or the toolbox fails.
template <class Visit>
void forEachTrackType(Movie movie, Visit visit) {
    const std::int32_t count = UQuickTimeMovie::GetTrackCount(movie);
    // Neither is cleared from one track to the next, on purpose: a track without media is judged
    // by the one before it.
    Media media = nullptr;
    OSType type = 0;
    for (std::int32_t i = 1; i <= count; ++i) {
        const Track track = GetMovieIndTrack(movie, i);
        OSErr status = GetMoviesError();
        TWLogError(status, "GetMovieIndTrack", kSourceFile, __LINE__);
        if (status != noErr)
            return;
        if (track) {
            media = GetTrackMedia(track);
            status = GetMoviesError();
            TWLogError(status, "GetTrackMedia", kSourceFile, __LINE__);
            if (status != noErr)
                return;
        }
        if (media) {
            GetMediaHandlerDescription(media, &type, nullptr, nullptr);
            status = GetMoviesError();
            TWLogError(status, "GetMediaHandlerDescription", kSourceFile, __LINE__);
            if (status != noErr)
                return;
        }
        if (!visit(track, type))
            return;
    }
}

/// Whole pixels as 16.16, by a shift of the bits.
Fixed fixedOfPixels(int pixels) {
    return static_cast<Fixed>(static_cast<std::uint32_t>(pixels) << 16);
}

}  // namespace

OSErr UQuickTimeMovie::CreateNewTrack(Movie inMovie, OSType inMediaType, int inWidth, int inHeight,
                                      int inLayer, TimeScale inTimeScale, Track* outTrack,
                                      Media* outMedia) {
    if (!inMovie) {
        TWLog("%s: Error - inMovie is NULL...", "CreateNewTrack");
        return paramErr;
    }
    if (inTimeScale < 0) {
        TWLog("%s: Error - inTimeScale is %d...", "CreateNewTrack", inTimeScale);
        return paramErr;
    }
    const Track track =
        NewMovieTrack(inMovie, fixedOfPixels(inWidth), fixedOfPixels(inHeight), kFullVolume);
    OSErr status = GetMoviesError();
    TWLogError(status, "NewMovieTrack", kSourceFile, __LINE__);
    if (status != noErr)
        return status;
    if (!track) {
        TWLog("%s: Failed to create new track...", "CreateNewTrack");
        return invalidTrack;
    }
    if (inLayer != 0)
        SetTrackLayer(track, static_cast<std::int16_t>(inLayer));
    if (outTrack)
        *outTrack = track;
    const Media media = NewTrackMedia(track, inMediaType, inTimeScale, nullptr, 0);
    status = GetMoviesError();
    TWLogError(status, "NewTrackMedia", kSourceFile, __LINE__);
    if (status != noErr)
        return status;
    if (!media) {
        TWLog("%s: Failed to create track media with inTimeScale=%d...", "CreateNewTrack",
              inTimeScale);
        return invalidMedia;
    }
    if (outMedia)
        *outMedia = media;
    return noErr;
}

OSErr UQuickTimeMovie::CreateNewVideoTrack(Movie inMovie, int inWidth, int inHeight, int inLayer,
                                           TimeScale inTimeScale, Track* outTrack,
                                           Media* outMedia) {
    return CreateNewTrack(inMovie, VideoMediaType, inWidth, inHeight, inLayer, inTimeScale,
                          outTrack, outMedia);
}

OSErr UQuickTimeMovie::CreateNewAudioTrack(Movie inMovie, TimeScale inTimeScale, Track* outTrack,
                                           Media* outMedia) {
    return CreateNewTrack(inMovie, SoundMediaType, 0, 0, 0, inTimeScale, outTrack, outMedia);
}

std::int32_t UQuickTimeMovie::GetTrackCount(Movie inMovie) {
    if (!inMovie)
        return 0;
    const std::int32_t count = GetMovieTrackCount(inMovie);
    TWLogError(GetMoviesError(), "GetMovieTrackCount", kSourceFile, __LINE__);
    return count;
}

std::int32_t UQuickTimeMovie::GetTrackCountForMediaType(Movie inMovie, OSType inMediaType) {
    std::int32_t count = 0;
    if (inMovie)
        forEachTrackType(inMovie, [&](Track, OSType type) {
            count += type == inMediaType;
            return true;
        });
    return count;
}

Track UQuickTimeMovie::GetTrackForMediaTypeAtIndex(Movie inMovie, OSType inMediaType, int inIndex) {
    Track found = nullptr;
    int matches = 0;
    if (inMovie)
        forEachTrackType(inMovie, [&](Track track, OSType type) {
            if (type != inMediaType || ++matches != inIndex)
                return true;
            found = track;
            return false;
        });
    return found;
}

std::int32_t UQuickTimeMovie::GetVideoTrackCount(Movie inMovie) {
    return GetTrackCountForMediaType(inMovie, VideoMediaType);
}

std::int32_t UQuickTimeMovie::GetAudioTrackCount(Movie inMovie) {
    return GetTrackCountForMediaType(inMovie, SoundMediaType);
}

std::int32_t UQuickTimeMovie::GetTweenTrackCount(Movie inMovie) {
    return GetTrackCountForMediaType(inMovie, TweenMediaType);
}

Track UQuickTimeMovie::GetAudioTrackAtIndex(Movie inMovie, int inIndex) {
    return GetTrackForMediaTypeAtIndex(inMovie, SoundMediaType, inIndex);
}

Track UQuickTimeMovie::GetVideoTrackAtIndex(Movie inMovie, int) {
    return GetTrackForMediaTypeAtIndex(inMovie, VideoMediaType, 1);
}

Track UQuickTimeMovie::GetTweenTrackAtIndex(Movie inMovie, int) {
    return GetTrackForMediaTypeAtIndex(inMovie, TweenMediaType, 1);
}

OSErr UQuickTimeMovie::GetDuration(const NSString& inPath, double& outSeconds) {
    outSeconds = 0;
    if (!inPath) {
        TWLog("%s: inPath is nil...", "GetDuration");
        return noErr;
    }
    const StDataRef dataRef(inPath);
    Movie movie = nullptr;
    std::int16_t resourceID = 0;
    OSErr status = NewMovieFromDataRef(&movie, newMovieActive, &resourceID, dataRef.GetDataRef(),
                                       dataRef.GetType());
    if (status == noErr && !movie)
        status = noMovieFound;
    TWLogError(status, "NewMovieFromDataRef", kSourceFile, __LINE__);
    if (status != noErr) {
        TWLog("%s: Failed to open movie at path %@...", "GetDuration", inPath);
        return status;
    }
    outSeconds = static_cast<double>(GetMovieDuration(movie)) /
                 static_cast<double>(GetMovieTimeScale(movie));
    DisposeMovie(movie);
    return noErr;
}

OSErr UQuickTimeMovie::FlattenMovieToFile(Movie inMovie, const NSString& inPath, OSType inCreator) {
    constexpr std::uint32_t kCreateFlags =
        createMovieFileDeleteCurFile | createMovieFileDontCreateMovie | createMovieFileDontOpenFile;
    const StDataRef dataRef(inPath);
    const Movie flattened =
        FlattenMovieDataToDataRef(inMovie, flattenAddMovieToDataFork, dataRef.GetDataRef(),
                                  dataRef.GetType(), inCreator, smCurrentScript, kCreateFlags);
    const OSErr status = GetMoviesError();
    TWLogError(status, "FlattenMovieDataToDataRef", kSourceFile, __LINE__);
    if (flattened)
        DisposeMovie(flattened);
    return status;
}

}  // namespace TWQuickTime
