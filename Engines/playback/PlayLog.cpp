#include "Engines/playback/PlayLog.h"

namespace TWQuickTime::playback {

PlayLog::Words PlayLog::packed(const PlayEntry& entry) {
    return {std::uint64_t(entry.outputFrame),
            entry.seekNumber,
            std::uint64_t(entry.takeFrame),
            std::uint64_t(entry.moves),
            std::uint64_t(entry.plan.start),
            std::uint64_t(entry.plan.range.in),
            std::uint64_t(entry.plan.range.out),
            std::uint64_t(entry.plan.loops),
            std::uint64_t(entry.plan.ratio.movieFrames),
            std::uint64_t(entry.plan.ratio.outputFrames)};
}

PlayEntry PlayLog::unpacked(const Words& words) {
    PlayEntry entry;
    entry.outputFrame = std::int64_t(words[0]);
    entry.seekNumber = words[1];
    entry.takeFrame = std::int64_t(words[2]);
    entry.moves = words[3] != 0;
    entry.plan.start = std::int64_t(words[4]);
    entry.plan.range = {std::int64_t(words[5]), std::int64_t(words[6])};
    entry.plan.loops = words[7] != 0;
    entry.plan.ratio = {std::int64_t(words[8]), std::int64_t(words[9])};
    return entry;
}

void PlayLog::append(const PlayEntry& entry) {
    const std::uint64_t number = count_.load(std::memory_order_relaxed);
    Slot& slot = slots_[number % kSlots];
    const Words words = packed(entry);
    slot.version.store(2 * number + 1, std::memory_order_relaxed);
    // Whoever reads one of the new words sees the odd version too, and does not believe the entry.
    for (std::size_t i = 0; i < kWords; ++i) {
        slot.words[i].store(words[i], std::memory_order_release);
    }
    slot.version.store(2 * number + 2, std::memory_order_release);
    count_.store(number + 1, std::memory_order_release);
}

std::optional<PlayEntry> PlayLog::entry(std::uint64_t number) const {
    const Slot& slot = slots_[number % kSlots];
    if (slot.version.load(std::memory_order_acquire) != 2 * number + 2) {
        return std::nullopt;
    }
    Words words;
    for (std::size_t i = 0; i < kWords; ++i) {
        words[i] = slot.words[i].load(std::memory_order_acquire);
    }
    if (slot.version.load(std::memory_order_relaxed) != 2 * number + 2) {
        return std::nullopt;
    }
    return unpacked(words);
}

std::optional<PlayEntry> PlayLog::at(std::int64_t outputFrame) const {
    std::optional<PlayEntry> oldest;
    for (std::uint64_t number = count_.load(std::memory_order_acquire); number > 0; --number) {
        auto found = entry(number - 1);
        if (!found) {
            // Written over: what is older is too.
            return oldest;
        }
        if (found->outputFrame <= outputFrame) {
            return found;
        }
        oldest = found;
    }
    return std::nullopt;
}

}  // namespace TWQuickTime::playback
