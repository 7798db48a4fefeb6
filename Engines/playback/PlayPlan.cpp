#include "Engines/playback/PlayPlan.h"

#include <algorithm>
#include <cmath>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::playback {

namespace {

/// The resampler counts whole frames a second on both sides and takes no more than ten million.
constexpr double kGreatestRate = 1e7;

}  // namespace

FrameRatio FrameRatio::of(std::int64_t movieRate, double speed, std::int64_t outputRate) {
    if (speed == 1.0) {
        return {movieRate, outputRate};
    }
    const double wanted = double(movieRate) * speed;
    const double finer =
        std::clamp(std::floor(kGreatestRate / std::max(wanted, double(outputRate))), 1.0, 64.0);
    return {std::max<std::int64_t>(std::llround(wanted * finer), 1),
            outputRate * std::int64_t(finer)};
}

PlayPlan PlayPlan::from(std::int64_t playhead, PlayRange range, bool loops, FrameRatio ratio) {
    PlayPlan plan{playhead, range, loops, ratio};
    if (range.out <= range.in) {
        plan.range.out = range.in;
        plan.start = range.in;
        plan.loops = false;
    } else if (playhead < range.in || (playhead >= range.out && loops)) {
        plan.start = range.in;
    } else if (playhead > range.out) {
        plan.start = range.out;
    }
    return plan;
}

std::int64_t PlayPlan::length() const {
    return loops ? kEndless
                 : timeline::rescaleUp(range.out - start, ratio.movieFrames, ratio.outputFrames);
}

std::int64_t PlayPlan::positionAt(std::int64_t outputFrame) const {
    const std::int64_t gone =
        timeline::rescaleDown(outputFrame, ratio.outputFrames, ratio.movieFrames);
    if (!loops) {
        return std::min(timeline::addSaturating(start, gone), range.out);
    }
    const std::int64_t lap = range.out - range.in;
    return range.in + (start - range.in + gone % lap) % lap;
}

}  // namespace TWQuickTime::playback
