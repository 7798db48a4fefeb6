// Frames of sound on their way from the thread that decodes to the one that must not wait.
//
// One thread writes, one reads; neither ever waits. The memory is taken once, in the constructor.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace TWQuickTime::playback {

class FrameRing {
  public:
    FrameRing(std::size_t capacityInFrames, std::size_t channels)
        : capacity_(capacityInFrames), channels_(channels), samples_(capacityInFrames * channels) {}

    std::size_t framesReadable() const {
        return std::size_t(written_.load(std::memory_order_acquire) -
                           read_.load(std::memory_order_acquire));
    }
    std::size_t framesWritable() const { return capacity_ - framesReadable(); }

    /// The writer's: takes whole frames, at most framesWritable().
    void write(std::span<const float> interleaved) {
        const std::uint64_t at = written_.load(std::memory_order_relaxed);
        const std::size_t frames = interleaved.size() / channels_;
        const std::size_t first = std::min(frames, capacity_ - std::size_t(at % capacity_));
        std::copy_n(interleaved.begin(), first * channels_,
                    samples_.begin() + std::ptrdiff_t(at % capacity_ * channels_));
        std::copy(interleaved.begin() + std::ptrdiff_t(first * channels_), interleaved.end(),
                  samples_.begin());
        written_.store(at + frames, std::memory_order_release);
    }

    /// The reader's: fills the front of the place with what is there.
    /// @return frames
    std::size_t read(std::span<float> interleaved) {
        const std::uint64_t at = read_.load(std::memory_order_relaxed);
        const std::size_t frames = std::min(interleaved.size() / channels_, framesReadable());
        const std::size_t first = std::min(frames, capacity_ - std::size_t(at % capacity_));
        std::copy_n(samples_.begin() + std::ptrdiff_t(at % capacity_ * channels_),
                    first * channels_, interleaved.begin());
        std::copy_n(samples_.begin(), (frames - first) * channels_,
                    interleaved.begin() + std::ptrdiff_t(first * channels_));
        read_.store(at + frames, std::memory_order_release);
        return frames;
    }

    /// The reader's: passes over frames.
    /// @return how many there were, at most `frames`
    std::size_t drop(std::size_t frames) {
        frames = std::min(frames, framesReadable());
        read_.store(read_.load(std::memory_order_relaxed) + frames, std::memory_order_release);
        return frames;
    }

  private:
    const std::size_t capacity_;
    const std::size_t channels_;
    std::vector<float> samples_;
    std::atomic<std::uint64_t> written_ = 0;
    std::atomic<std::uint64_t> read_ = 0;
};

}  // namespace TWQuickTime::playback
