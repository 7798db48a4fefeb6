#include "Engines/timeline/EditList.h"

#include <algorithm>

namespace TWQuickTime::timeline {
namespace {

/// Track durations times this many units …
std::int64_t trackUnits(std::uint32_t movieScale) {
    return static_cast<std::int64_t>(movieScale) * kFixedOne;
}

/// … are media durations times that many.
std::int64_t mediaUnits(std::uint32_t mediaScale, Fixed rate) {
    return static_cast<std::int64_t>(mediaScale) * rate;
}

/// Whether `second` shows exactly what comes after `first`.
bool continues(const Edit& first, const Edit& second, std::uint32_t movieScale,
               std::uint32_t mediaScale) {
    if (first.isEmpty() || second.isEmpty())
        return first.isEmpty() && second.isEmpty();
    if (first.rate != second.rate)
        return false;
    const std::int64_t down =
        rescaleDown(first.duration, trackUnits(movieScale), mediaUnits(mediaScale, first.rate));
    const std::int64_t up =
        rescaleUp(first.duration, trackUnits(movieScale), mediaUnits(mediaScale, first.rate));
    return down == up && second.mediaTime == addSaturating(first.mediaTime, down);
}

}  // namespace

std::int64_t mediaTimeInside(const Edit& edit, std::int64_t offset, std::uint32_t movieScale,
                             std::uint32_t mediaScale) {
    const std::int64_t progress =
        rescaleDown(offset, trackUnits(movieScale), mediaUnits(mediaScale, edit.rate));
    return std::max<std::int64_t>(0, addSaturating(edit.mediaTime, progress));
}

std::optional<std::int64_t> offsetInside(const Edit& edit, std::int64_t mediaTime,
                                         std::uint32_t movieScale, std::uint32_t mediaScale) {
    if (edit.isEmpty() || edit.duration == 0)
        return std::nullopt;
    if (edit.rate == 0)
        return edit.mediaTime == mediaTime ? std::optional<std::int64_t>(0) : std::nullopt;
    const std::int64_t distance = edit.rate > 0 ? subtractSaturating(mediaTime, edit.mediaTime)
                                                : subtractSaturating(edit.mediaTime, mediaTime);
    const std::int64_t units = mediaUnits(mediaScale, edit.rate);
    const std::int64_t offset =
        rescaleUp(distance, units < 0 ? -units : units, trackUnits(movieScale));
    if (distance < 0 || offset >= edit.duration)
        return std::nullopt;
    return offset;
}

EditList::EditList(std::vector<Edit> edits) : edits_(std::move(edits)) {
    for (Edit& edit : edits_)
        edit.duration = std::max<std::int64_t>(0, edit.duration);
    recount();
}

void EditList::recount() {
    starts_.resize(edits_.size() + 1);
    std::int64_t start = 0;
    for (std::size_t i = 0; i < edits_.size(); ++i) {
        starts_[i] = start;
        start = addSaturating(start, edits_[i].duration);
    }
    starts_.back() = start;
}

std::int64_t EditList::duration() const {
    return starts_.empty() ? 0 : starts_.back();
}

PlacedEdit EditList::at(std::size_t index) const {
    return {edits_[index], index, starts_[index]};
}

std::optional<PlacedEdit> EditList::covering(std::int64_t trackTime) const {
    if (trackTime < 0 || trackTime >= duration())
        return std::nullopt;
    const auto after = std::upper_bound(starts_.begin(), starts_.end(), trackTime);
    return at(static_cast<std::size_t>(after - starts_.begin()) - 1);
}

std::optional<std::int64_t> EditList::mediaTimeAt(std::int64_t trackTime, std::uint32_t movieScale,
                                                  std::uint32_t mediaScale) const {
    const auto placed = covering(trackTime);
    if (!placed || placed->edit.isEmpty())
        return std::nullopt;
    return mediaTimeInside(placed->edit, trackTime - placed->trackStart, movieScale, mediaScale);
}

std::optional<std::int64_t> EditList::trackTimeOf(std::int64_t mediaTime, std::uint32_t movieScale,
                                                  std::uint32_t mediaScale,
                                                  std::int64_t notBefore) const {
    for (std::size_t i = 0; i < edits_.size(); ++i) {
        const PlacedEdit placed = at(i);
        if (placed.trackEnd() <= notBefore)
            continue;
        const auto offset = offsetInside(placed.edit, mediaTime, movieScale, mediaScale);
        if (!offset)
            continue;
        if (placed.edit.rate == 0)
            return std::max(placed.trackStart, notBefore);
        if (const auto time = addSaturating(placed.trackStart, *offset); time >= notBefore)
            return time;
    }
    return std::nullopt;
}

std::size_t EditList::splitAt(std::int64_t trackTime, std::uint32_t movieScale,
                              std::uint32_t mediaScale) {
    const auto placed = covering(trackTime);
    if (!placed)
        return trackTime < 0 ? 0 : edits_.size();
    const std::int64_t offset = trackTime - placed->trackStart;
    if (offset == 0) {
        // Of several edits without duration at this time, stay before the first one.
        const auto first = std::lower_bound(starts_.begin(), starts_.end(), trackTime);
        return static_cast<std::size_t>(first - starts_.begin());
    }
    Edit second = placed->edit;
    second.duration -= offset;
    if (!second.isEmpty())
        second.mediaTime = mediaTimeInside(placed->edit, offset, movieScale, mediaScale);
    edits_[placed->index].duration = offset;
    const std::size_t index = placed->index + 1;
    edits_.insert(edits_.begin() + static_cast<std::ptrdiff_t>(index), second);
    recount();
    return index;
}

void EditList::joinAt(std::size_t index, std::uint32_t movieScale, std::uint32_t mediaScale) {
    if (index == 0 || index >= edits_.size() ||
        !continues(edits_[index - 1], edits_[index], movieScale, mediaScale))
        return;
    edits_[index - 1].duration = addSaturating(edits_[index - 1].duration, edits_[index].duration);
    edits_.erase(edits_.begin() + static_cast<std::ptrdiff_t>(index));
}

void EditList::insert(std::int64_t trackTime, const Edit& edit, std::uint32_t movieScale,
                      std::uint32_t mediaScale) {
    trackTime = std::max<std::int64_t>(0, trackTime);
    if (trackTime > duration()) {
        edits_.push_back({trackTime - duration(), kEmptyMediaTime, kFixedOne});
        recount();
    }
    const std::size_t index = splitAt(trackTime, movieScale, mediaScale);
    edits_.insert(edits_.begin() + static_cast<std::ptrdiff_t>(index), edit);
    joinAt(index + 1, movieScale, mediaScale);
    joinAt(index, movieScale, mediaScale);
    recount();
}

void EditList::remove(std::int64_t trackTime, std::int64_t durationToRemove,
                      std::uint32_t movieScale, std::uint32_t mediaScale) {
    const std::int64_t end = addSaturating(trackTime, durationToRemove);
    trackTime = std::max<std::int64_t>(0, trackTime);
    if (end <= trackTime)
        return;
    const std::size_t first = splitAt(trackTime, movieScale, mediaScale);
    const std::size_t last = splitAt(end, movieScale, mediaScale);
    edits_.erase(edits_.begin() + static_cast<std::ptrdiff_t>(first),
                 edits_.begin() + static_cast<std::ptrdiff_t>(std::max(first, last)));
    joinAt(first, movieScale, mediaScale);
    while (!edits_.empty() && edits_.back().isEmpty())
        edits_.pop_back();
    recount();
}

void EditList::rescaleDurations(std::uint32_t fromMovieScale, std::uint32_t toMovieScale) {
    std::int64_t start = 0;
    for (std::size_t i = 0; i < edits_.size(); ++i) {
        const std::int64_t end = rescale(starts_[i + 1], fromMovieScale, toMovieScale);
        edits_[i].duration = end - start;
        start = end;
    }
    recount();
}

}  // namespace TWQuickTime::timeline
