// From times of a movie to times of a track's media, exact for any time scale.
#pragma once

#include <cstdint>
#include <optional>

#include "Engines/timeline/Track.h"
#include "Engines/transcode/Time.h"

namespace TWQuickTime::transcode {

/// What a track shows at a time.
struct ShownMedia {
    timeline::PlacedEdit edit;
    /// Media time units, down to a whole one.
    std::int64_t mediaTime = 0;
};

class EditMap {
  public:
    /// The track must outlive the map.
    EditMap(const timeline::Track& track, std::uint32_t movieScale);

    /// None in empty edits and outside of all edits.
    std::optional<ShownMedia> at(Time movieTime) const;
    /// The first time, in units of `scale`, at which the edit has reached a media time. Only for
    /// edits that move forward.
    std::int64_t whenReached(const timeline::PlacedEdit& edit, std::int64_t mediaTime,
                             std::int64_t scale) const;
    /// The end of whatever edit (or gap between edits) covers a time, in units of `scale`, rounded
    /// up; none at and after the end of the track.
    std::optional<std::int64_t> endOfEdit(Time movieTime, std::int64_t scale) const;

    std::uint32_t movieScale() const { return movieScale_; }
    std::uint32_t mediaScale() const { return mediaScale_; }

  private:
    const timeline::Track& track_;
    std::uint32_t movieScale_;
    std::uint32_t mediaScale_;
};

}  // namespace TWQuickTime::transcode
