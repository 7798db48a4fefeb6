// Which part of a media a track shows when: the track's edits, in order of track time.
//
//     EditList edits;
//     edits.insert(0, {.duration = 600, .mediaTime = 0});
//     edits.mediaTimeAt(300, movieScale, mediaScale);   // media time shown at track time 300
//
// Track times and edit durations count the movie's time scale, media times the media's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::timeline {

/// The media time of an edit that shows nothing.
constexpr std::int64_t kEmptyMediaTime = -1;

struct Edit {
    std::int64_t duration = 0;   ///< movie time units, at least 0
    std::int64_t mediaTime = 0;  ///< media time units at the edit's start; -1: empty edit
    Fixed rate = kFixedOne;      ///< media seconds per track second; 0: dwells on mediaTime

    bool isEmpty() const { return mediaTime == kEmptyMediaTime; }
    bool operator==(const Edit&) const = default;
};

/// An edit and where it stands.
struct PlacedEdit {
    Edit edit;
    std::size_t index = 0;
    std::int64_t trackStart = 0;  ///< track time of its start
    std::int64_t trackEnd() const { return addSaturating(trackStart, edit.duration); }
};

/// The media time at an offset into an edit that is not empty, rounded down, never below 0.
std::int64_t mediaTimeInside(const Edit& edit, std::int64_t offsetInEdit, std::uint32_t movieScale,
                             std::uint32_t mediaScale);

/// The first offset into an edit, forward or backward playing, at which a media time is reached;
/// none when the edit does not show it.
std::optional<std::int64_t> offsetInside(const Edit& edit, std::int64_t mediaTime,
                                         std::uint32_t movieScale, std::uint32_t mediaScale);

class EditList {
  public:
    EditList() = default;
    explicit EditList(std::vector<Edit> edits);

    std::span<const Edit> edits() const { return edits_; }
    std::size_t size() const { return edits_.size(); }
    bool empty() const { return edits_.empty(); }
    /// The sum of all edits, in movie time units.
    std::int64_t duration() const;
    PlacedEdit at(std::size_t index) const;

    /// The edit that covers a track time (start included, end excluded); none outside.
    std::optional<PlacedEdit> covering(std::int64_t trackTime) const;

    /// The media time shown at a track time; none in empty edits and outside of all edits.
    std::optional<std::int64_t> mediaTimeAt(std::int64_t trackTime, std::uint32_t movieScale,
                                            std::uint32_t mediaScale) const;

    /// The first track time, not before `notBefore`, at which a media time is shown; none when it
    /// is shown nowhere. Rounded up to the track time whose mapping has reached the media time.
    std::optional<std::int64_t> trackTimeOf(std::int64_t mediaTime, std::uint32_t movieScale,
                                            std::uint32_t mediaScale,
                                            std::int64_t notBefore = 0) const;

    /// Puts an edit at a track time, splitting the edit it falls into and moving later ones.
    /// A time past the end is reached by an empty edit; one before 0 counts as 0. Neighbours that
    /// continue each other exactly become one edit.
    void insert(std::int64_t trackTime, const Edit& edit, std::uint32_t movieScale,
                std::uint32_t mediaScale);

    /// Takes the range out; what follows moves up. Trailing empty edits go too.
    void remove(std::int64_t trackTime, std::int64_t duration, std::uint32_t movieScale,
                std::uint32_t mediaScale);

    /// Restates all durations in another movie time scale. Edges are converted, not lengths, so
    /// that errors do not add up.
    void rescaleDurations(std::uint32_t fromMovieScale, std::uint32_t toMovieScale);

    bool operator==(const EditList& other) const { return edits_ == other.edits_; }

  private:
    /// Makes `trackTime` an edge between edits; returns the index of the edit that starts there.
    std::size_t splitAt(std::int64_t trackTime, std::uint32_t movieScale, std::uint32_t mediaScale);
    /// Makes one edit of the one at `index` and the one before it, if they continue each other.
    void joinAt(std::size_t index, std::uint32_t movieScale, std::uint32_t mediaScale);
    void recount();

    std::vector<Edit> edits_;
    std::vector<std::int64_t> starts_;  ///< track time of each edit's start, then the end of all
};

}  // namespace TWQuickTime::timeline
