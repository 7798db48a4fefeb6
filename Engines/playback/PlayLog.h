// Which frame of which take the device got when: written by the device's side, read by whoever asks
// what is heard now.
//
// An entry holds from its frame of output on until the next one. Old entries are written over; the
// log reaches back further than any device's latency. Neither side waits.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "Engines/playback/PlayPlan.h"

namespace TWQuickTime::playback {

struct PlayEntry {
    std::int64_t outputFrame = 0;
    std::uint64_t seekNumber = 0;
    std::int64_t takeFrame = 0;
    /// False while the device gets silence: before sound is ready, and after the end.
    bool moves = false;
    PlayPlan plan;

    std::int64_t takeFrameAt(std::int64_t outputFrameNow) const {
        return takeFrame + (moves ? outputFrameNow - outputFrame : 0);
    }
};

class PlayLog {
  public:
    /// One thread at a time.
    void append(const PlayEntry& entry);
    /// The entry that holds at a frame of output; none before the first.
    std::optional<PlayEntry> at(std::int64_t outputFrame) const;

  private:
    static constexpr std::size_t kSlots = 256;
    static constexpr std::size_t kWords = 10;
    using Words = std::array<std::uint64_t, kWords>;
    struct Slot {
        /// Twice the number of the entry in it, one more while it is being written.
        std::atomic<std::uint64_t> version = 0;
        std::array<std::atomic<std::uint64_t>, kWords> words{};
    };

    static Words packed(const PlayEntry& entry);
    static PlayEntry unpacked(const Words& words);
    std::optional<PlayEntry> entry(std::uint64_t number) const;

    std::array<Slot, kSlots> slots_;
    std::atomic<std::uint64_t> count_ = 0;
};

}  // namespace TWQuickTime::playback
