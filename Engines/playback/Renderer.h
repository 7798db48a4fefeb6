// The device's side of the player: gives the device the frames of one take after the other, and
// keeps the log of what it gave.
//
// supply() and skip() belong to the device's thread and never wait. Everything else is the decoding
// side's; what is marked so only while the device is stopped.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <span>

#include "Engines/playback/GainRamp.h"
#include "Engines/playback/OutputDevice.h"
#include "Engines/playback/PlayLog.h"
#include "Engines/playback/Take.h"

namespace TWQuickTime::playback {

class Renderer final : public SoundSupply {
  public:
    Renderer();
    ~Renderer() override;
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    void supply(std::span<float> interleaved) noexcept override;
    void skip(std::int64_t frames) noexcept override;

    /// Before the first start, once the device's format is known.
    /// @param refill  called when frames are wanted and none are there; for owners without threads
    void prepare(codec::SoundFormat format, std::function<void()> refill);

    /// The take that follows the last one. It stays where it is until collectRetired() or reset()
    /// comes by after it was played.
    void publish(std::unique_ptr<Take> take);
    /// Takes back the published take if the device's side has not seen it yet.
    std::unique_ptr<Take> withdraw();
    /// Frees takes that were played.
    void collectRetired();
    /// Frees all takes. Only while the device is stopped.
    void reset();

    /// Any thread.
    void setGain(float gain) { gain_.store(gain, std::memory_order_relaxed); }
    /// The greatest absolute sample since the last call. Any thread.
    float takePeak() { return peak_.exchange(0.0f, std::memory_order_relaxed); }
    const PlayLog& log() const { return log_; }

  private:
    /// Plays into the front of the place; an empty place only counts.
    /// @return frames played; after them there is nothing at present
    std::size_t play(std::span<float> interleaved, std::size_t frames);
    std::size_t take(Take& from, std::span<float> interleaved, std::size_t frames);
    /// Goes over to the following take when its frame has come, or when none is left to wait for.
    void joinNext(bool mustJoin);
    void note(bool moves);
    void notePeak(std::span<const float> interleaved);
    void retire(Take* played);

    std::size_t channels_ = 2;
    std::function<void()> refill_;

    // The device's side's own.
    Take* current_ = nullptr;
    Take* incoming_ = nullptr;
    std::int64_t toLeaveOut_ = 0;
    std::int64_t outputFrame_ = 0;
    std::optional<PlayEntry> noted_;
    GainRamp ramp_{0, 1.0f};

    // Between the two sides.
    std::atomic<Take*> next_ = nullptr;
    std::atomic<Take*> retired_ = nullptr;
    std::atomic<float> gain_ = 1.0f;
    std::atomic<float> peak_ = 0.0f;
    PlayLog log_;
};

}  // namespace TWQuickTime::playback
