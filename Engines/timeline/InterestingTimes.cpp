#include "Engines/timeline/InterestingTimes.h"

#include <algorithm>
#include <limits>

namespace TWQuickTime::timeline {
namespace {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
/// So many edits in a row that hold nothing of interest end a search.
constexpr std::size_t kGreatestEditsSearched = 1000;

/// Looks for things in one track. Track times are movie time units.
class TrackSearch {
  public:
    TrackSearch(const Track& track, std::uint32_t movieScale, std::uint32_t kinds)
        : track_(track),
          samples_(track.media ? track.media->samples : kNoSamples),
          movieScale_(movieScale),
          mediaScale_(track.media ? track.media->timeScale : 1),
          kinds_(kinds) {}

    /// The least time of something that begins at `least` or later.
    std::optional<std::int64_t> firstFrom(std::int64_t least) const {
        const std::size_t first = firstEditEndingAfter(least);
        const std::size_t end = std::min(track_.edits.size(), first + kGreatestEditsSearched);
        for (std::size_t i = first; i < end; ++i) {
            const PlacedEdit placed = track_.edits.at(i);
            if (placed.edit.duration == 0)
                continue;
            if (placed.trackStart >= least && edgeCounts(placed.edit))
                return placed.trackStart;
            if (const auto inside = firstInside(placed, std::max(least, placed.trackStart)))
                return inside;
        }
        return std::nullopt;
    }

    /// The greatest time of something that begins at `greatest` or earlier.
    std::optional<std::int64_t> lastUpTo(std::int64_t greatest) const {
        const std::size_t end = endOfEditsStartingUpTo(greatest);
        const std::size_t first = end - std::min(end, kGreatestEditsSearched);
        for (std::size_t i = end; i-- > first;) {
            const PlacedEdit placed = track_.edits.at(i);
            if (placed.edit.duration == 0)
                continue;
            if (const auto inside = lastInside(placed, std::min(greatest, placed.trackEnd() - 1)))
                return inside;
            if (edgeCounts(placed.edit))
                return placed.trackStart;
        }
        return std::nullopt;
    }

    /// Whether something that counts is going on at a time.
    bool isInside(std::int64_t time) const {
        const auto placed = track_.edits.covering(time);
        return placed && ((kinds_ & kTrackEdits) || !placed->edit.isEmpty());
    }

    std::int64_t durationFrom(std::int64_t time) const {
        const auto placed = track_.edits.covering(time);
        if (!placed)
            return 0;
        const std::int64_t next = firstFrom(time + 1).value_or(kNever);
        return std::min(next, placed->trackEnd()) - time;
    }

  private:
    inline static const SampleTable kNoSamples;

    std::size_t firstEditEndingAfter(std::int64_t time) const {
        const auto placed = track_.edits.covering(std::max<std::int64_t>(0, time));
        return placed ? placed->index : track_.edits.size();
    }

    std::size_t endOfEditsStartingUpTo(std::int64_t time) const {
        if (time < 0)
            return 0;
        const auto placed = track_.edits.covering(time);
        return placed ? placed->index + 1 : track_.edits.size();
    }

    /// The start of an edit is where one of its samples begins to show, too.
    bool edgeCounts(const Edit& edit) const {
        if (kinds_ & kTrackEdits)
            return true;
        if (edit.isEmpty())
            return false;
        if (kinds_ & (kMediaEdits | kMediaSamples))
            return true;
        const auto sample = samples_.sampleAtDisplayTime(edit.mediaTime);
        return sample && (kinds_ & kSyncSamples) &&
               samples_.syncSampleAtOrBefore(*sample) == *sample;
    }

    bool looksInside(const Edit& edit) const {
        return !edit.isEmpty() && edit.rate > 0 && (kinds_ & (kMediaSamples | kSyncSamples));
    }

    std::optional<std::int64_t> firstInside(const PlacedEdit& placed, std::int64_t least) const {
        if (!looksInside(placed.edit))
            return std::nullopt;
        // What begins at a track time ≥ least has a display time beyond that of `least − 1`.
        const std::int64_t beyond =
            least == placed.trackStart ? subtractSaturating(placed.edit.mediaTime, 1)
                                       : mediaTimeInside(placed.edit, least - 1 - placed.trackStart,
                                                         movieScale_, mediaScale_);
        const auto sample = (kinds_ & kMediaSamples) ? samples_.sampleDisplayedAfter(beyond)
                                                     : syncSampleDisplayedAfter(beyond);
        if (!sample)
            return std::nullopt;
        return trackTime(placed, samples_.displayTimeOf(*sample));
    }

    std::optional<std::int64_t> lastInside(const PlacedEdit& placed, std::int64_t greatest) const {
        if (!looksInside(placed.edit))
            return std::nullopt;
        const std::int64_t mediaTime =
            mediaTimeInside(placed.edit, greatest - placed.trackStart, movieScale_, mediaScale_);
        auto sample = samples_.sampleAtDisplayTime(mediaTime);
        if (!sample)
            return std::nullopt;
        if (!(kinds_ & kMediaSamples))
            sample = samples_.syncSampleAtOrBefore(*sample);
        const std::int64_t displayTime = samples_.displayTimeOf(*sample);
        if (displayTime > mediaTime)
            return std::nullopt;
        return trackTime(placed, displayTime);
    }

    std::optional<std::uint32_t> syncSampleDisplayedAfter(std::int64_t mediaTime) const {
        const auto around = samples_.sampleAtDisplayTime(mediaTime);
        if (!around)
            return std::nullopt;
        auto sample = samples_.syncSampleAtOrAfter(samples_.syncSampleAtOrBefore(*around));
        while (sample && samples_.displayTimeOf(*sample) <= mediaTime)
            sample = samples_.syncSampleAtOrAfter(*sample + 1);
        return sample;
    }

    std::optional<std::int64_t> trackTime(const PlacedEdit& placed, std::int64_t mediaTime) const {
        const auto offset = offsetInside(placed.edit, mediaTime, movieScale_, mediaScale_);
        return offset ? std::optional(addSaturating(placed.trackStart, *offset)) : std::nullopt;
    }

    const Track& track_;
    const SampleTable& samples_;
    std::uint32_t movieScale_;
    std::uint32_t mediaScale_;
    std::uint32_t kinds_;
};

}  // namespace

std::optional<InterestingTime> nextInterestingTime(const Track& track, std::uint32_t movieScale,
                                                   std::uint32_t kinds, std::int64_t time,
                                                   SearchDirection direction, bool timeIncluded) {
    if (movieScale == 0 || (track.media && track.media->timeScale == 0))
        return std::nullopt;
    const TrackSearch search(track, movieScale, kinds);
    std::optional<std::int64_t> found;
    if (direction == SearchDirection::forward) {
        found = search.firstFrom(timeIncluded ? time : addSaturating(time, 1));
    } else if (timeIncluded) {
        found = search.lastUpTo(time);
    } else {
        std::int64_t greatest = subtractSaturating(time, 1);
        if (search.isInside(time)) {
            const auto current = search.lastUpTo(time);
            greatest = current ? *current - 1 : greatest;
        }
        found = search.lastUpTo(greatest);
    }
    if (!found)
        return std::nullopt;
    return InterestingTime{*found, search.durationFrom(*found)};
}

std::optional<InterestingTime> nextInterestingTime(const Movie& movie, std::uint32_t kinds,
                                                   std::span<const FourCharCode> mediaTypes,
                                                   std::int64_t time, SearchDirection direction,
                                                   bool timeIncluded) {
    std::optional<InterestingTime> nearest;
    for (const auto& track : movie.tracks) {
        const bool typeFits = mediaTypes.empty() ||
                              (track->media && std::find(mediaTypes.begin(), mediaTypes.end(),
                                                         track->media->type()) != mediaTypes.end());
        if (!typeFits || !track->enabled())
            continue;
        const auto found =
            nextInterestingTime(*track, movie.timeScale, kinds, time, direction, timeIncluded);
        if (!found)
            continue;
        const bool nearer =
            !nearest || (direction == SearchDirection::forward ? found->time < nearest->time
                                                               : found->time > nearest->time);
        if (nearer)
            nearest = found;
    }
    return nearest;
}

}  // namespace TWQuickTime::timeline
