#include <algorithm>
#include <array>

#include "Handles.h"
#include "Media.h"
#include "Movies.h"
#include "TWUQuickTimeMovie.h"
#include "TimeCodeMedia.h"
#include "Tracks.h"
#include "UserData.h"

namespace TWQuickTime {
namespace {

constexpr std::int32_t kDescriptionInBytes = 38;
constexpr TimeValue kFrameDuration = 100;

/// How a track of this rate counts. The drop-frame flag belongs to it at any rate, on purpose,
/// although frames are counted without dropping elsewhere in this class.
TimeCodeDef definitionForRate(int frameRate) {
    return {.flags = tcDropFrame | tc24HourMax,
            .fTimeScale = static_cast<TimeScale>(static_cast<std::uint32_t>(frameRate) * 100u),
            .frameDuration = kFrameDuration,
            .numFrames = static_cast<std::uint8_t>(frameRate),
            .padding = 0};
}

void putBigEndian(Handle handle, std::size_t offset, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i)
        (*handle)[offset + i] = static_cast<char>(value >> (24 - 8 * i));
}

void fillDescription(Handle description, const TimeCodeDef& def) {
    putBigEndian(description, 0, kDescriptionInBytes);
    putBigEndian(description, 4, TimeCodeMediaType);
    putBigEndian(description, 20, def.flags);
    putBigEndian(description, 24, static_cast<std::uint32_t>(def.fTimeScale));
    putBigEndian(description, 28, static_cast<std::uint32_t>(def.frameDuration));
    (*description)[32] = static_cast<char>(def.numFrames);
}

/// Everything that is made on the way to the sample, disposed of in any case.
struct TimeCodeSample {
    Handle description = nullptr;
    Handle name = nullptr;
    UserData source = nullptr;
    Handle data = nullptr;

    TimeCodeSample() = default;
    TimeCodeSample(const TimeCodeSample&) = delete;
    TimeCodeSample& operator=(const TimeCodeSample&) = delete;
    ~TimeCodeSample() {
        for (const Handle handle : {description, data, name})
            if (handle)
                DisposeHandle(handle);
        if (source)
            DisposeUserData(source);
    }

    /// The description with its source, which has an empty name.
    bool describe(MediaHandler handler, const TimeCodeDef& def) {
        description = NewHandleClear(kDescriptionInBytes);
        if (!description)
            return false;
        fillDescription(description, def);
        return NewUserData(&source) == noErr && PtrToHand("", &name, 0) == noErr &&
               AddUserDataText(source, name, fourCC("name"), 1, 0) == noErr &&
               TCSetSourceRef(handler, description, source) == noErr;
    }

    /// The frame number of the start timecode.
    bool number(MediaHandler handler, const TimeCodeDef& def, TimeCodeTime start) {
        data = NewHandle(4);
        if (!data)
            return false;
        TimeCodeRecord record;
        record.t = start;
        std::int32_t frame = 0;
        if (TCTimeCodeToFrameNumber(handler, &def, &record, &frame) != noErr)
            return false;
        putBigEndian(data, 0, static_cast<std::uint32_t>(frame));
        return true;
    }
};

/// Between the edit calls: adds the one sample over the whole movie and shows it.
OSErr addSample(Movie movie, Track track, Media media, MediaHandler handler, TimeCodeTime start,
                int frameRate) {
    const TimeCodeDef def = definitionForRate(frameRate);
    TimeCodeSample sample;
    if (sample.describe(handler, def) && sample.number(handler, def, start)) {
        const TimeValue duration = GetMovieDuration(movie);
        if (AddMediaSample(media, sample.data, 0,
                           static_cast<std::uint32_t>(GetHandleSize(sample.data)), duration,
                           sample.description, 1, 0, nullptr) == noErr &&
            EndMediaEdits(media) == noErr)
            return InsertMediaIntoTrack(track, 0, 0, duration, kFixedOne);
    }
    return EndMediaEdits(media);
}

}  // namespace

OSErr TWUQuickTimeMovie::addTimeCode(TimeCodeTime start, Movie toMovie, int withFrameRate) {
    Rect box;
    GetMovieBox(toMovie, &box);
    // The edges are whole pixels in places of 16.16 fixed point, on purpose: the track is never
    // shown.
    const Track track = NewMovieTrack(toMovie, box.right, box.bottom, 0);
    if (!track)
        return noErr;
    const Media media =
        NewTrackMedia(track, TimeCodeMediaType, GetMovieTimeScale(toMovie), nullptr, 0);
    const MediaHandler handler = media ? GetMediaHandler(media) : nullptr;
    if (!handler)
        return noErr;
    SetTrackEnabled(track, false);
    TCSetTimeCodeFlags(handler, 0, tcdfShowTimeCode);
    const OSErr status = BeginMediaEdits(media);
    if (status != noErr)
        return status;
    return addSample(toMovie, track, media, handler, start, withFrameRate);
}

TimeCodeTime TWUQuickTimeMovie::getStartTimeCodeOfMovie(Movie movie) {
    const MediaHandler handler =
        movie ? TWUQuickTimeMovie::getTimeCodeMediaHandlerOfMovie(movie) : nullptr;
    TimeCodeRecord record;
    if (!handler || TCGetTimeCodeAtTime(handler, 0, nullptr, nullptr, &record, nullptr) != noErr)
        return {};
    return record.t;
}

bool TWUQuickTimeMovie::hasMovieTimeCodeTrack(Movie movie) {
    return movie && GetMovieIndTrackType(movie, 1, TimeCodeMediaType, movieTrackMediaType);
}

MediaHandler TWUQuickTimeMovie::getTimeCodeMediaHandlerOfMovie(Movie movie) {
    const Track track =
        movie ? GetMovieIndTrackType(movie, 1, TimeCodeMediaType, movieTrackMediaType) : nullptr;
    const Media media = track ? GetTrackMedia(track) : nullptr;
    return media ? GetMediaHandler(media) : nullptr;
}

bool TWUQuickTimeMovie::removeTimeCodeTrackOfMovie(Movie movie) {
    const Track track =
        movie ? GetMovieIndTrackType(movie, 1, TimeCodeMediaType, movieTrackMediaType) : nullptr;
    if (!track)
        return false;
    DisposeMovieTrack(track);
    return true;
}

}  // namespace TWQuickTime
