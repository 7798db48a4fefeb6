#include "Engines/playback/Renderer.h"

#include <algorithm>
#include <cmath>

namespace TWQuickTime::playback {

namespace {

constexpr double kRampInSeconds = 0.005;

}  // namespace

Renderer::Renderer() = default;

Renderer::~Renderer() {
    reset();
}

void Renderer::prepare(codec::SoundFormat format, std::function<void()> refill) {
    channels_ = std::size_t(format.channels);
    refill_ = std::move(refill);
    ramp_ = GainRamp(std::size_t(std::lround(format.sampleRate * kRampInSeconds)), gain_.load());
}

void Renderer::publish(std::unique_ptr<Take> take) {
    // One that was published before and is still here was withdrawn first.
    next_.store(take.release(), std::memory_order_release);
}

std::unique_ptr<Take> Renderer::withdraw() {
    return std::unique_ptr<Take>(next_.exchange(nullptr, std::memory_order_acq_rel));
}

void Renderer::collectRetired() {
    std::unique_ptr<Take> played(retired_.exchange(nullptr, std::memory_order_acquire));
    while (played) {
        played.reset(played->nextRetired);
    }
}

void Renderer::reset() {
    collectRetired();
    withdraw().reset();
    const std::unique_ptr<Take> incoming(std::exchange(incoming_, nullptr));
    const std::unique_ptr<Take> current(std::exchange(current_, nullptr));
    toLeaveOut_ = 0;
    ramp_.jumpTo(gain_.load());
}

void Renderer::supply(std::span<float> interleaved) noexcept {
    const std::size_t played = play(interleaved, interleaved.size() / channels_);
    const auto silent = interleaved.subspan(played * channels_);
    std::fill(silent.begin(), silent.end(), 0.0f);
    ramp_.setTarget(gain_.load(std::memory_order_relaxed));
    ramp_.apply(interleaved, channels_);
    notePeak(interleaved);
}

void Renderer::skip(std::int64_t frames) noexcept {
    play({}, std::size_t(frames));
}

std::size_t Renderer::play(std::span<float> interleaved, std::size_t frames) {
    std::size_t played = 0;
    bool hasRefilled = false;
    while (played < frames) {
        joinNext(false);
        if (!current_) {
            break;
        }
        const auto place =
            interleaved.empty() ? interleaved : interleaved.subspan(played * channels_);
        const std::size_t got = take(*current_, place, frames - played);
        if (got > 0) {
            played += got;
            hasRefilled = false;
        } else if (incoming_) {
            joinNext(true);
        } else if (refill_ && !hasRefilled) {
            refill_();
            hasRefilled = true;
        } else {
            break;
        }
    }
    if (played < frames && current_) {
        note(false);
    }
    outputFrame_ += std::int64_t(frames - played);
    return played;
}

std::size_t Renderer::take(Take& from, std::span<float> interleaved, std::size_t frames) {
    std::int64_t at = from.framesPlayed.load(std::memory_order_relaxed);
    if (toLeaveOut_ > 0) {
        const std::int64_t wanted = std::min(toLeaveOut_, from.length - at);
        const std::int64_t left =
            from.isCounted ? wanted : std::int64_t(from.ring.drop(std::size_t(wanted)));
        toLeaveOut_ -= left;
        at += left;
        from.framesPlayed.store(at, std::memory_order_release);
        if (left < wanted) {
            return 0;
        }
    }
    std::int64_t wanted = std::min(std::int64_t(frames), from.length - at);
    if (incoming_ && incoming_->joinFrame > at) {
        wanted = std::min(wanted, incoming_->joinFrame - at);
    }
    std::size_t got = std::size_t(wanted);
    if (!from.isCounted) {
        got = interleaved.empty() ? from.ring.drop(got)
                                  : from.ring.read(interleaved.first(got * channels_));
    }
    if (got > 0) {
        note(true);
        from.framesPlayed.store(at + std::int64_t(got), std::memory_order_release);
        outputFrame_ += std::int64_t(got);
    }
    return got;
}

void Renderer::joinNext(bool mustJoin) {
    for (;; mustJoin = false) {
        if (!incoming_ && next_.load(std::memory_order_relaxed)) {
            incoming_ = next_.exchange(nullptr, std::memory_order_acq_rel);
        }
        if (!incoming_) {
            return;
        }
        std::int64_t late = 0;
        if (current_ && incoming_->joinFrame != Take::kAtOnce) {
            late = current_->framesPlayed.load(std::memory_order_relaxed) - incoming_->joinFrame;
        }
        if (late < 0 && !mustJoin) {
            return;
        }
        if (current_) {
            retire(current_);
        }
        current_ = std::exchange(incoming_, nullptr);
        toLeaveOut_ = std::max<std::int64_t>(late, 0);
    }
}

void Renderer::note(bool moves) {
    const std::int64_t takeFrame = current_->framesPlayed.load(std::memory_order_relaxed);
    const PlayEntry entry{outputFrame_, current_->seekNumber, takeFrame, moves, current_->plan};
    const bool goesOn = noted_ && noted_->moves == moves &&
                        noted_->seekNumber == entry.seekNumber && noted_->plan == entry.plan &&
                        noted_->takeFrameAt(outputFrame_) == takeFrame;
    if (!goesOn) {
        log_.append(entry);
        noted_ = entry;
    }
}

void Renderer::notePeak(std::span<const float> interleaved) {
    float greatest = 0;
    for (const float sample : interleaved) {
        greatest = std::max(greatest, std::abs(sample));
    }
    if (greatest > peak_.load(std::memory_order_relaxed)) {
        peak_.store(greatest, std::memory_order_relaxed);
    }
}

void Renderer::retire(Take* played) {
    Take* others = retired_.load(std::memory_order_relaxed);
    do {
        played->nextRetired = others;
    } while (!retired_.compare_exchange_weak(others, played, std::memory_order_release,
                                             std::memory_order_relaxed));
}

}  // namespace TWQuickTime::playback
