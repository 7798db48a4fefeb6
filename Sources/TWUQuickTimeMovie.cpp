#include "TWUQuickTimeMovie.h"

#include "Handles.h"
#include "InterestingTimes.h"
#include "Media.h"
#include "Movies.h"
#include "Tracks.h"
#include "UQuickTimeMovie.h"
#include "UserData.h"

namespace TWQuickTime {
namespace {

/// The next start of a video sample in a direction; the time itself when there is none.
TimeValue nextVideoTime(Movie movie, TimeValue now, Fixed rate) {
    const OSType video = VideoMediaType;
    TimeValue next = now;
    GetMovieNextInterestingTime(movie, nextTimeMediaSample, 1, &video, now, rate, &next, nullptr);
    // Nothing found reads as -1, which is not a place to go to.
    return next < 0 ? now : next;
}

/// Disposes of every track that the judge picks.
template <class Judge>
bool disposeTracks(Movie movie, Judge judge) {
    bool any = false;
    std::int32_t index = 1;
    while (index <= GetMovieTrackCount(movie)) {
        const Track track = GetMovieIndTrack(movie, index);
        if (!judge(track)) {
            ++index;
            continue;
        }
        // The tracks behind it move down by one.
        DisposeMovieTrack(track);
        if (GetMoviesError() != noErr)
            ++index;
        else
            any = true;
    }
    return any;
}

}  // namespace

std::int32_t TWUQuickTimeMovie::getTrackCount(Movie movie) {
    return UQuickTimeMovie::GetTrackCount(movie);
}

Track TWUQuickTimeMovie::getFirstTrackOfMovie(Movie movie, OSType forMediaType) {
    return UQuickTimeMovie::GetTrackForMediaTypeAtIndex(movie, forMediaType, 1);
}

OSErr TWUQuickTimeMovie::createNewAudioTrackInMovie(Movie movie, TimeScale timeScale, Track* track,
                                                    Media* media) {
    return UQuickTimeMovie::CreateNewAudioTrack(movie, timeScale, track, media);
}

OSErr TWUQuickTimeMovie::createNewTrackInMovie(Movie movie, OSType mediaType, int width, int height,
                                               int layer, TimeScale timeScale, Track* track,
                                               Media* media) {
    return UQuickTimeMovie::CreateNewTrack(movie, mediaType, width, height, layer, timeScale, track,
                                           media);
}

Movie TWUQuickTimeMovie::createCloneOfMovie(Movie movie) {
    if (!movie)
        return nullptr;
    const Handle handle = NewHandle(0);
    Movie clone = nullptr;
    OSErr status = PutMovieIntoHandle(movie, handle);
    if (status == noErr)
        status = NewMovieFromHandle(&clone, handle, newMovieActive, nullptr);
    if (status != noErr && clone) {
        DisposeMovie(clone);
        clone = nullptr;
    }
    DisposeHandle(handle);
    return clone;
}

int TWUQuickTimeMovie::getLoopModeOfMovie(Movie movie) {
    constexpr OSType kLoop = fourCC("LOOP");
    enum { playsOnce = 0, loops = 1, backAndForth = 2 };
    if (!movie)
        return playsOnce;
    const UserData userData = GetMovieUserData(movie);
    if (!userData || CountUserDataType(userData, kLoop) == 0)
        return playsOnce;
    int mode = loops;
    const Handle item = NewHandle(0);
    if (GetUserData(userData, item, kLoop, 1) == noErr && GetHandleSize(item) >= 4) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(*item);
        if (bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0 && bytes[3] == 1)
            mode = backAndForth;
    }
    DisposeHandle(item);
    return mode;
}

void TWUQuickTimeMovie::gotoNextFrame(Movie movie) {
    if (!movie)
        return;
    const TimeValue now = GetMovieTime(movie, nullptr);
    const TimeValue next = nextVideoTime(movie, now, kFixedOne);
    if (next > now)
        SetMovieTimeValue(movie, next);
}

void TWUQuickTimeMovie::gotoPreviousFrame(Movie movie) {
    if (!movie)
        return;
    const TimeValue now = GetMovieTime(movie, nullptr);
    const TimeValue previous = nextVideoTime(movie, now, -kFixedOne);
    if (previous < now)
        SetMovieTimeValue(movie, previous);
}

bool TWUQuickTimeMovie::disposeTracksOfMovie(Movie movie, OSType ofMediaType) {
    return movie && disposeTracks(movie, [&](Track track) {
               OSType type = 0;
               GetMediaHandlerDescription(GetTrackMedia(track), &type, nullptr, nullptr);
               return type == ofMediaType;
           });
}

bool TWUQuickTimeMovie::disposeDisabledTracksOfMovie(Movie movie) {
    return movie && disposeTracks(movie, [](Track track) { return !GetTrackEnabled(track); });
}

}  // namespace TWQuickTime
