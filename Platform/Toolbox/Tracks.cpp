#include "Tracks.h"

#include <algorithm>

#include "Private/RecordCalls.h"

namespace TWQuickTime {
namespace {

/// Whether a media type has one of the characteristics that tracks are looked up by.
bool hasCharacteristic(OSType mediaType, OSType characteristic) {
    switch (characteristic) {
        case VisualMediaCharacteristic:
            return mediaType == VideoMediaType || mediaType == TextMediaType ||
                   mediaType == fourCC("sbtl") || mediaType == fourCC("sprt");
        case AudioMediaCharacteristic:
            return mediaType == SoundMediaType || mediaType == fourCC("musi");
        default:
            return false;
    }
}

MatrixRecord matrixRecordOf(const timeline::Matrix& matrix) {
    MatrixRecord record;
    std::copy(matrix.begin(), matrix.end(), &record.matrix[0][0]);
    return record;
}

}  // namespace

Track NewMovieTrack(Movie movie, Fixed width, Fixed height, ShortFixed trackVolume) {
    Track track = nullptr;
    changeObject("NewMovieTrack", movie, [&](MovieRecord& record) {
        timeline::Track& part =
            record.movie->addTrack({.width = width, .height = height}, trackVolume);
        part.creationTime = part.modificationTime = currentMovieFileTime();
        track = &record.trackRecord(part);
    });
    return track;
}

void DisposeMovieTrack(Track track) {
    changeObject("DisposeMovieTrack", track, [](TrackRecord& record) {
        MovieRecord& movie = *record.movie;
        const timeline::Track* part = record.track;
        movie.tracks.erase(part);
        movie.movie->deleteTrack(part);
    });
}

std::int32_t GetMovieTrackCount(Movie movie) {
    return readObject("GetMovieTrackCount", movie, 0, [](const MovieRecord& record) {
        return static_cast<std::int32_t>(record.movie->tracks.size());
    });
}

Track GetMovieIndTrack(Movie movie, ToolboxIndex index) {
    Track track = nullptr;
    workOnObject("GetMovieIndTrack", movie, [&](MovieRecord& record) -> OSErr {
        if (index < 1 || static_cast<std::size_t>(index) > record.movie->tracks.size())
            return badTrackIndex;
        track = &record.trackRecord(*record.movie->tracks[static_cast<std::size_t>(index) - 1]);
        return noErr;
    });
    return track;
}

Track GetMovieIndTrackType(Movie movie, ToolboxIndex index, OSType trackType, std::int32_t flags) {
    Track found = nullptr;
    changeObject("GetMovieIndTrackType", movie, [&](MovieRecord& record) {
        ToolboxIndex remaining = index;
        for (const auto& track : record.movie->tracks) {
            if (!track->media || ((flags & movieTrackEnabledOnly) && !track->enabled()))
                continue;
            const OSType type = track->media->type();
            const bool matches = (flags & movieTrackCharacteristic)
                                     ? hasCharacteristic(type, trackType)
                                     : type == trackType;
            if (matches && --remaining == 0) {
                found = &record.trackRecord(*track);
                return;
            }
        }
    });
    return found;
}

Track GetMovieTrack(Movie movie, std::int32_t trackID) {
    Track found = nullptr;
    workOnObject("GetMovieTrack", movie, [&](MovieRecord& record) -> OSErr {
        timeline::Track* track =
            trackID > 0 ? record.movie->trackWithID(static_cast<std::uint32_t>(trackID)) : nullptr;
        if (!track)
            return trackIDNotFound;
        found = &record.trackRecord(*track);
        return noErr;
    });
    return found;
}

Movie GetTrackMovie(Track track) {
    return readObject("GetTrackMovie", track, Movie{nullptr},
                      [](const TrackRecord& record) -> Movie { return record.movie; });
}

std::int32_t GetTrackID(Track track) {
    return readObject("GetTrackID", track, 0, [](const TrackRecord& record) {
        return static_cast<std::int32_t>(record.track->id);
    });
}

Boolean GetTrackEnabled(Track track) {
    return readObject("GetTrackEnabled", track, false,
                      [](const TrackRecord& record) { return record.track->enabled(); });
}

void SetTrackEnabled(Track track, Boolean isEnabled) {
    changeObject("SetTrackEnabled", track,
                 [&](TrackRecord& record) { record.track->setEnabled(isEnabled); });
}

std::int16_t GetTrackLayer(Track track) {
    return readObject("GetTrackLayer", track, std::int16_t{0},
                      [](const TrackRecord& record) { return record.track->layer; });
}

void SetTrackLayer(Track track, std::int16_t layer) {
    changeObject("SetTrackLayer", track, [&](TrackRecord& record) { record.track->layer = layer; });
}

ShortFixed GetTrackVolume(Track track) {
    return readObject("GetTrackVolume", track, ShortFixed{0},
                      [](const TrackRecord& record) { return record.track->volume; });
}

void SetTrackVolume(Track track, ShortFixed volume) {
    changeObject("SetTrackVolume", track,
                 [&](TrackRecord& record) { record.track->volume = volume; });
}

void GetTrackDimensions(Track track, Fixed* width, Fixed* height) {
    const timeline::Dimensions dimensions =
        readObject("GetTrackDimensions", track, timeline::Dimensions{},
                   [](const TrackRecord& record) { return record.track->dimensions; });
    if (width)
        *width = dimensions.width;
    if (height)
        *height = dimensions.height;
}

void SetTrackDimensions(Track track, Fixed width, Fixed height) {
    changeObject("SetTrackDimensions", track, [&](TrackRecord& record) {
        record.track->dimensions = {.width = width, .height = height};
    });
}

void GetTrackMatrix(Track track, MatrixRecord* matrix) {
    const MatrixRecord present =
        readObject("GetTrackMatrix", track, MatrixRecord{},
                   [](const TrackRecord& record) { return matrixRecordOf(record.track->matrix); });
    if (matrix)
        *matrix = present;
}

void SetTrackMatrix(Track track, const MatrixRecord* matrix) {
    changeObject("SetTrackMatrix", track, [&](TrackRecord& record) {
        const MatrixRecord wanted = matrix ? *matrix : MatrixRecord{};
        std::copy_n(&wanted.matrix[0][0], 9, record.track->matrix.begin());
    });
}

TimeValue GetTrackDuration(Track track) {
    return readObject("GetTrackDuration", track, TimeValue{0}, [](const TrackRecord& record) {
        return limitedTimeValue(record.track->duration());
    });
}

TimeValue GetTrackOffset(Track track) {
    return readObject("GetTrackOffset", track, TimeValue{0}, [](const TrackRecord& record) {
        std::int64_t offset = 0;
        for (const timeline::Edit& edit : record.track->edits.edits()) {
            if (!edit.isEmpty())
                break;
            offset += edit.duration;
        }
        return limitedTimeValue(offset);
    });
}

TimeValue TrackTimeToMediaTime(TimeValue value, Track track) {
    return readObject("TrackTimeToMediaTime", track, TimeValue{-1}, [&](TrackRecord& record) {
        if (!record.track->media)
            return TimeValue{-1};
        const auto time = record.track->edits.mediaTimeAt(value, record.movie->movie->timeScale,
                                                          record.track->media->timeScale);
        return time ? limitedTimeValue(*time) : TimeValue{-1};
    });
}

std::int32_t GetTrackEditCount(Track track) {
    return readObject("GetTrackEditCount", track, 0, [](const TrackRecord& record) {
        return static_cast<std::int32_t>(record.track->edits.size());
    });
}

OSErr GetTrackIndEdit(Track track, ToolboxIndex index, TrackEdit* edit) {
    return workOnObject("GetTrackIndEdit", track, [&](const TrackRecord& record) -> OSErr {
        const timeline::EditList& edits = record.track->edits;
        if (!edit || index < 1 || static_cast<std::size_t>(index) > edits.size())
            return paramErr;
        const timeline::PlacedEdit placed = edits.at(static_cast<std::size_t>(index) - 1);
        *edit = {.trackTime = limitedTimeValue(placed.trackStart),
                 .trackDuration = limitedTimeValue(placed.edit.duration),
                 .mediaTime = limitedTimeValue(placed.edit.mediaTime),
                 .mediaRate = placed.edit.rate};
        return noErr;
    });
}

}  // namespace TWQuickTime
