#include "Engines/playback/GainRamp.h"

#include <algorithm>

namespace TWQuickTime::playback {

void GainRamp::setTarget(float target) {
    if (target == target_) {
        return;
    }
    target_ = target;
    left_ = std::max<std::size_t>(length_, 1);
    step_ = (target_ - level_) / float(left_);
}

void GainRamp::jumpTo(float level) {
    level_ = target_ = level;
    left_ = 0;
}

void GainRamp::apply(std::span<float> interleaved, std::size_t channels) {
    const std::size_t frames = interleaved.size() / channels;
    const std::size_t ramped = std::min(left_, frames);
    for (std::size_t i = 0; i < ramped; ++i) {
        level_ = --left_ == 0 ? target_ : level_ + step_;
        for (std::size_t c = 0; c < channels; ++c) {
            interleaved[i * channels + c] *= level_;
        }
    }
    if (level_ == 1.0f) {
        return;
    }
    for (float& sample : interleaved.subspan(ramped * channels)) {
        sample *= level_;
    }
}

}  // namespace TWQuickTime::playback
