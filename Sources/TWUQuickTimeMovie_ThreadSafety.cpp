#include "Components.h"
#include "Handles.h"
#include "Media.h"
#include "TWUQuickTimeComponent.h"
#include "TWUQuickTimeMovie.h"
#include "Tracks.h"

namespace TWQuickTime {
namespace {

/// Bytes 4 to 7 of the first sample description; 0 when there is none.
OSType firstDataFormat(Media media) {
    const Handle description = NewHandle(0);
    GetMediaSampleDescription(media, 1, description);
    OSType format = 0;
    if (GetHandleSize(description) >= 8)
        for (int i = 4; i < 8; ++i)
            format = format << 8 | static_cast<unsigned char>((*description)[i]);
    DisposeHandle(description);
    return format;
}

}  // namespace

bool TWUQuickTimeMovie::isTrackThreadSafe(Track track) {
    if (!track)
        return false;
    const Media media = GetTrackMedia(track);
    OSType mediaType = 0;
    GetMediaHandlerDescription(media, &mediaType, nullptr, nullptr);
    const OSType dataFormat = firstDataFormat(media);
    // The decompressor is asked for whatever the track holds, sound included, on purpose.
    return TWUQuickTimeComponent::isComponentThreadSafe(MediaHandlerType, mediaType) &&
           TWUQuickTimeComponent::isComponentThreadSafe(decompressorComponentType, dataFormat);
}

bool TWUQuickTimeMovie::isMovieThreadSafe(Movie movie) {
    if (!movie)
        return false;
    bool allSafe = true;
    // Every track is asked, also after the first that is not safe.
    const std::int32_t count = GetMovieTrackCount(movie);
    for (std::int32_t i = 1; i <= count; ++i)
        allSafe = isTrackThreadSafe(GetMovieIndTrack(movie, i)) && allSafe;
    return allSafe;
}

}  // namespace TWQuickTime
