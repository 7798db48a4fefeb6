// A volume that never jumps: each new target is reached in a straight line from the present level.
#pragma once

#include <cstddef>
#include <span>

namespace TWQuickTime::playback {

class GainRamp {
  public:
    GainRamp(std::size_t lengthInFrames, float level)
        : length_(lengthInFrames), level_(level), target_(level) {}

    /// The next frames run toward it. The target that is already set changes nothing.
    void setTarget(float target);
    /// Jumps there; for when nothing sounds.
    void jumpTo(float level);

    /// Leaves the samples as they are, bit by bit, while the level stands at 1.
    void apply(std::span<float> interleaved, std::size_t channels);

  private:
    std::size_t length_;
    std::size_t left_ = 0;
    float level_;
    float target_;
    float step_ = 0;
};

}  // namespace TWQuickTime::playback
