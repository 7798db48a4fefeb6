// What the engine takes for the time: the machine's steady clock, or one that its owner moves.
//
//     PlayerOptions options;
//     options.clock = Clock::steady();
//     const std::int64_t now = options.clock->nanoseconds();
#pragma once

#include <cstdint>
#include <memory>

namespace TWQuickTime::playback {

class Clock {
  public:
    virtual ~Clock() = default;

    /// Never goes back; any thread. What 0 stands for is the clock's own affair.
    virtual std::int64_t nanoseconds() const = 0;

    /// The machine's steady clock.
    static const std::shared_ptr<const Clock>& steady();
};

}  // namespace TWQuickTime::playback
