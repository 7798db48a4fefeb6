// Finding the next time at which something begins: a sample, an edit.
//
//     auto next = nextInterestingTime(movie, {.kinds = kMediaSamples, .mediaTypes = {vide}}, now,
//                                     SearchDirection::forward);
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "Engines/timeline/Movie.h"

namespace TWQuickTime::timeline {

// What is looked for; may be combined.
constexpr std::uint32_t kMediaSamples = 1;  ///< starts of samples as shown
constexpr std::uint32_t kMediaEdits = 2;    ///< edges of edits that change the media time
constexpr std::uint32_t kTrackEdits = 4;    ///< edges of edits
constexpr std::uint32_t kSyncSamples = 8;   ///< starts of sync samples

enum class SearchDirection { forward, backward };

struct InterestingTime {
    std::int64_t time = 0;      ///< when it begins, movie time units
    std::int64_t duration = 0;  ///< until the next one or the end of its edit, movie time units
};

/// @param kinds         any of the constants above
/// @param time          movie time units, where the search begins
/// @param timeIncluded  whether what begins exactly there counts; backward also what is shown
///                      there. Otherwise a backward search passes over what is shown at `time`.
/// @return none when nothing is left in that direction
std::optional<InterestingTime> nextInterestingTime(const Track& track, std::uint32_t movieScale,
                                                   std::uint32_t kinds, std::int64_t time,
                                                   SearchDirection direction, bool timeIncluded);

/// The nearest of all enabled tracks of the given media types (none given: all types).
std::optional<InterestingTime> nextInterestingTime(const Movie& movie, std::uint32_t kinds,
                                                   std::span<const FourCharCode> mediaTypes,
                                                   std::int64_t time, SearchDirection direction,
                                                   bool timeIncluded);

}  // namespace TWQuickTime::timeline
