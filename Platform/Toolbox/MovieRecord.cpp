#include "Private/MovieRecord.h"

#include <algorithm>
#include <ctime>
#include <limits>

#include "Private/ComponentTable.h"
#include "Private/DrawingRecord.h"
#include "Private/MovieFileStorage.h"
#include "Private/MovieLoading.h"

namespace TWQuickTime {
namespace {

/// From 1904-01-01 to 1970-01-01.
constexpr std::uint64_t kSecondsBeforeUnixTime = 2082844800;

}  // namespace

MediaRecord::~MediaRecord() {
    if (handler)
        closeInstance(handler);
}

MediaRecord* TrackRecord::mediaRecord() {
    if (!media && track->media)
        media = std::make_unique<MediaRecord>(*this, *track->media);
    return media.get();
}

MovieRecord::MovieRecord(std::unique_ptr<timeline::Movie> model) : movie(std::move(model)) {}

MovieRecord::~MovieRecord() {
    if (drawing)
        keepDecodersForNextClone(*this);
}

TrackRecord& MovieRecord::trackRecord(timeline::Track& track) {
    std::unique_ptr<TrackRecord>& record = tracks[&track];
    if (!record)
        record = std::make_unique<TrackRecord>(*this, track);
    return *record;
}

Movie newMovieRecord(std::unique_ptr<timeline::Movie> model) {
    return std::make_unique<MovieRecord>(std::move(model)).release();
}

std::uint64_t currentMovieFileTime() {
    return static_cast<std::uint64_t>(std::time(nullptr)) + kSecondsBeforeUnixTime;
}

TimeValue limitedTimeValue(std::int64_t value) {
    return static_cast<TimeValue>(std::clamp<std::int64_t>(
        value, std::numeric_limits<TimeValue>::min(), std::numeric_limits<TimeValue>::max()));
}

}  // namespace TWQuickTime
