// The sound of one plan. Every seek and every change of the range makes a new take; the device's
// side goes over from one to the next at a frame, and so leaves no gap.
#pragma once

#include <atomic>
#include <cstdint>

#include "Engines/playback/FrameRing.h"
#include "Engines/playback/PlayPlan.h"

namespace TWQuickTime::playback {

struct Take {
    static constexpr std::int64_t kAtOnce = -1;

    /// @param ringFrames  0: nobody listens, frames are only counted
    Take(const PlayPlan& thePlan, std::size_t ringFrames, std::size_t channels)
        : plan(thePlan),
          length(thePlan.length()),
          isCounted(ringFrames == 0),
          ring(ringFrames, channels) {}

    const PlayPlan plan;
    const std::int64_t length;
    const bool isCounted;
    /// Which of the owner's seeks it answers.
    std::uint64_t seekNumber = 0;
    /// The frame of the take before at which this one goes on. When that frame has passed, so many
    /// of this one's first frames are left out.
    std::int64_t joinFrame = kAtOnce;

    FrameRing ring;
    /// Frames of it that the device's side is through with.
    std::atomic<std::int64_t> framesPlayed = 0;

    /// Of those that the device's side is done with.
    Take* nextRetired = nullptr;
};

}  // namespace TWQuickTime::playback
