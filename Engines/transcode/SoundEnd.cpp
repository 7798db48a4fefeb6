#include "Engines/transcode/SoundEnd.h"

#include <algorithm>
#include <cstdlib>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::transcode {

std::int64_t soundEnd(const timeline::Movie& movie, const timeline::Track& track,
                      std::int64_t sampleRate) {
    const std::size_t count = track.edits.edits().size();
    if (count == 0) {
        return 0;
    }
    const std::int64_t movieScale = std::max<std::uint32_t>(movie.timeScale, 1);
    const timeline::PlacedEdit last = track.edits.at(count - 1);
    const std::int64_t told = timeline::rescale(last.trackEnd(), movieScale, sampleRate);
    if (!track.media || last.edit.isEmpty() || last.edit.rate != timeline::kFixedOne) {
        return told;
    }
    const std::int64_t mediaScale = std::max<std::uint32_t>(track.media->timeScale, 1);
    const std::int64_t left = track.media->samples.duration() - last.edit.mediaTime;
    const std::int64_t meant = timeline::rescale(last.trackStart, movieScale, sampleRate) +
                               timeline::rescale(left, mediaScale, sampleRate);
    const std::int64_t oneUnit = (sampleRate + movieScale - 1) / movieScale;
    return std::abs(meant - told) <= oneUnit ? meant : told;
}

}  // namespace TWQuickTime::transcode
