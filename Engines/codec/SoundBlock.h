// A run of sound: interleaved 32-bit floating-point samples, 1.0 being full scale.
#pragma once

#include <cstdint>
#include <vector>

namespace TWQuickTime::codec {

struct SoundBlock {
    int channels = 0;
    double sampleRate = 0;
    /// Channel positions, bit n as in WAVE files (1 left, 2 right, 4 centre, 8 LFE …); 0: unknown.
    std::uint64_t channelMask = 0;
    /// Of the first frame, in the units of whoever made the block.
    std::int64_t time = 0;
    std::vector<float> samples;

    std::size_t frameCount() const {
        return channels > 0 ? samples.size() / std::size_t(channels) : 0;
    }
};

}  // namespace TWQuickTime::codec
