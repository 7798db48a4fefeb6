#include "InterestingTimes.h"

#include <vector>

#include "Engines/timeline/InterestingTimes.h"
#include "Private/RecordCalls.h"

namespace TWQuickTime {
namespace {

/// What the flags ask for, in the engine's terms. A step is a sample.
std::uint32_t kindsOf(std::int16_t flags) {
    std::uint32_t kinds = 0;
    if (flags & (nextTimeMediaSample | nextTimeStep))
        kinds |= timeline::kMediaSamples;
    if (flags & nextTimeMediaEdit)
        kinds |= timeline::kMediaEdits;
    if (flags & nextTimeTrackEdit)
        kinds |= timeline::kTrackEdits;
    if (flags & nextTimeSyncSample)
        kinds |= timeline::kSyncSamples;
    return kinds;
}

/// The types that are looked at: characteristics stand for all types that have them.
std::vector<timeline::FourCharCode> mediaTypes(std::span<const OSType> wanted) {
    std::vector<timeline::FourCharCode> types;
    for (const OSType type : wanted) {
        if (type == VisualMediaCharacteristic)
            types.insert(types.end(), {VideoMediaType, TextMediaType, fourCC("sbtl")});
        else if (type == AudioMediaCharacteristic)
            types.push_back(SoundMediaType);
        else
            types.push_back(type);
    }
    return types;
}

timeline::SearchDirection directionOf(Fixed rate) {
    return rate < 0 ? timeline::SearchDirection::backward : timeline::SearchDirection::forward;
}

void give(const std::optional<timeline::InterestingTime>& found, TimeValue* time,
          TimeValue* duration) {
    if (time)
        *time = found ? limitedTimeValue(found->time) : -1;
    if (duration)
        *duration = found ? limitedTimeValue(found->duration) : 0;
}

}  // namespace

void GetMovieNextInterestingTime(Movie movie, std::int16_t flags, std::int16_t numMediaTypes,
                                 const OSType* whichMediaTypes, TimeValue time, Fixed rate,
                                 TimeValue* interestingTime, TimeValue* interestingDuration) {
    give(std::nullopt, interestingTime, interestingDuration);
    workOnObject("GetMovieNextInterestingTime", movie, [&](const MovieRecord& record) -> OSErr {
        if (numMediaTypes < 0 || (numMediaTypes > 0 && !whichMediaTypes))
            return paramErr;
        const auto types = mediaTypes({whichMediaTypes, static_cast<std::size_t>(numMediaTypes)});
        give(timeline::nextInterestingTime(*record.movie, kindsOf(flags), types, time,
                                           directionOf(rate), (flags & nextTimeEdgeOK) != 0),
             interestingTime, interestingDuration);
        return noErr;
    });
}

void GetTrackNextInterestingTime(Track track, std::int16_t flags, TimeValue time, Fixed rate,
                                 TimeValue* interestingTime, TimeValue* interestingDuration) {
    give(std::nullopt, interestingTime, interestingDuration);
    changeObject("GetTrackNextInterestingTime", track, [&](const TrackRecord& record) {
        give(timeline::nextInterestingTime(*record.track, record.movie->movie->timeScale,
                                           kindsOf(flags), time, directionOf(rate),
                                           (flags & nextTimeEdgeOK) != 0),
             interestingTime, interestingDuration);
    });
}

}  // namespace TWQuickTime
