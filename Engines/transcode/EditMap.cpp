#include "Engines/transcode/EditMap.h"

namespace TWQuickTime::transcode {

namespace {

Wide floorDivide(Wide dividend, Wide divisor) {
    const Wide quotient = dividend / divisor;
    return dividend % divisor != 0 && (dividend < 0) != (divisor < 0) ? quotient - 1 : quotient;
}

std::int64_t ceilingDivide(Wide dividend, Wide divisor) {
    return static_cast<std::int64_t>(-floorDivide(-dividend, divisor));
}

}  // namespace

EditMap::EditMap(const timeline::Track& track, std::uint32_t movieScale)
    : track_(track),
      movieScale_(movieScale > 0 ? movieScale : 1),
      mediaScale_(track.media && track.media->timeScale > 0 ? track.media->timeScale : 1) {}

std::optional<ShownMedia> EditMap::at(Time movieTime) const {
    const auto placed = track_.edits.covering(movieTime.in(movieScale_));
    if (!placed || placed->edit.isEmpty()) {
        return std::nullopt;
    }
    const Wide sinceStart = static_cast<Wide>(movieTime.value) * movieScale_ -
                            static_cast<Wide>(placed->trackStart) * movieTime.scale;
    // sinceStart counts 1/(scale·movieScale) seconds; the rate is 16.16 fixed point.
    const Wide media = floorDivide(sinceStart * mediaScale_ * placed->edit.rate,
                                   static_cast<Wide>(movieTime.scale) * movieScale_ * 65536);
    return ShownMedia{*placed, placed->edit.mediaTime + static_cast<std::int64_t>(media)};
}

std::int64_t EditMap::whenReached(const timeline::PlacedEdit& edit, std::int64_t mediaTime,
                                  std::int64_t scale) const {
    const Wide rate = edit.edit.rate > 0 ? edit.edit.rate : timeline::kFixedOne;
    // trackStart/movieScale + (mediaTime − edit.mediaTime)·65536/(rate·mediaScale) seconds
    const Wide divisor = static_cast<Wide>(movieScale_) * rate * mediaScale_;
    const Wide seconds = static_cast<Wide>(edit.trackStart) * rate * mediaScale_ +
                         static_cast<Wide>(mediaTime - edit.edit.mediaTime) * 65536 * movieScale_;
    return ceilingDivide(seconds * scale, divisor);
}

std::optional<std::int64_t> EditMap::endOfEdit(Time movieTime, std::int64_t scale) const {
    const auto placed = track_.edits.covering(movieTime.in(movieScale_));
    if (!placed) {
        return std::nullopt;
    }
    return ceilingDivide(static_cast<Wide>(placed->trackEnd()) * scale, movieScale_);
}

}  // namespace TWQuickTime::transcode
