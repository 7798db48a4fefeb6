// The shape of a call that reads or changes one property of a movie, track or media.
//
//     TimeValue GetMovieDuration(Movie movie) {
//         return readObject("GetMovieDuration", movie, TimeValue{0}, [](MovieRecord& record) {
//             return limitedTimeValue(record.movie->duration());
//         });
//     }
#pragma once

#include "Private/MovieRecord.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {

inline MovieRecord* liveRecord(Movie movie) {
    return liveMovie(movie);
}
inline TrackRecord* liveRecord(Track track) {
    return liveTrack(track);
}
inline MediaRecord* liveRecord(Media media) {
    return liveMedia(media);
}
constexpr OSErr statusOfInvalid(Movie) {
    return invalidMovie;
}
constexpr OSErr statusOfInvalid(Track) {
    return invalidTrack;
}
constexpr OSErr statusOfInvalid(Media) {
    return invalidMedia;
}

/// What `read` answers for the record, or `none` with the kind's own status.
template <class Object, class Value, class Read>
Value readObject(const char* name, Object object, Value none, Read read) {
    ToolboxCall call(name);
    if (call.faulted())
        return none;
    auto* record = liveRecord(object);
    if (!record) {
        call.fail(statusOfInvalid(object));
        return none;
    }
    call.succeed();
    return read(*record);
}

/// Runs `work`, which returns a status, on the record.
template <class Object, class Work>
OSErr workOnObject(const char* name, Object object, Work work) {
    ToolboxCall call(name);
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    auto* record = liveRecord(object);
    return call.finish(record ? work(*record) : statusOfInvalid(object));
}

/// Runs `change`, which cannot fail, on the record.
template <class Object, class Change>
void changeObject(const char* name, Object object, Change change) {
    workOnObject(name, object, [&](auto& record) -> OSErr {
        change(record);
        return noErr;
    });
}

}  // namespace TWQuickTime
