// What is played from one place on, as long as nothing changes: plain arithmetic.
//
//     const PlayPlan plan = PlayPlan::from(playhead, {in, out}, loops, {1, 1});
//     plan.positionAt(4800);      // the movie's frame that sounds at the 4801st frame of output
#pragma once

#include <cstdint>
#include <limits>

namespace TWQuickTime::playback {

/// Frames of the movie's sound, `out` not included.
struct PlayRange {
    std::int64_t in = 0;
    std::int64_t out = 0;
    friend bool operator==(const PlayRange&, const PlayRange&) = default;
};

/// Movie frames per output frames, as a fraction of whole rates.
struct FrameRatio {
    std::int64_t movieFrames = 1;
    std::int64_t outputFrames = 1;
    friend bool operator==(const FrameRatio&, const FrameRatio&) = default;

    bool isOne() const { return movieFrames == outputFrames; }
    /// The ratio of a speed between two rates. Exact for speed 1, else good to a millionth.
    static FrameRatio of(std::int64_t movieRate, double speed, std::int64_t outputRate);
};

struct PlayPlan {
    static constexpr std::int64_t kEndless = std::numeric_limits<std::int64_t>::max();

    std::int64_t start = 0;
    PlayRange range;
    bool loops = false;
    FrameRatio ratio;
    friend bool operator==(const PlayPlan&, const PlayPlan&) = default;

    /// Puts the playhead into the range, as SoundPlayer says.
    static PlayPlan from(std::int64_t playhead, PlayRange range, bool loops, FrameRatio ratio);

    /// Frames of output until the end, or kEndless.
    std::int64_t length() const;
    /// The movie frame at so many frames of output; `range.out` from the end on.
    std::int64_t positionAt(std::int64_t outputFrame) const;
};

}  // namespace TWQuickTime::playback
