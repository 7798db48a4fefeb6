// What a run loop takes for the time: the machine's steady clock, or one that a test moves by hand.
//
//     auto clock = std::make_shared<ManualClock>();
//     NSRunLoop::currentRunLoop()->setClock(clock);
//     player->play();
//     clock->advance(3600);      // an hour of delayed performs, in their order, at once
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "TWQTExport.h"

namespace TWQuickTime {

class NSRunLoop;

class TWQT_EXPORT RunLoopClock {
  public:
    RunLoopClock() = default;
    virtual ~RunLoopClock();
    RunLoopClock(const RunLoopClock&) = delete;
    RunLoopClock& operator=(const RunLoopClock&) = delete;

    /// Never goes back; any thread. What 0 stands for is the clock's own affair.
    virtual std::int64_t nowInNanoseconds() const = 0;
    double nowInSeconds() const { return static_cast<double>(nowInNanoseconds()) * 1e-9; }
    /// Returns when so much of this clock's time has gone by; loops do not run meanwhile.
    virtual void sleepForSeconds(double seconds) = 0;

    /// Whether the machine's steady clock runs along with this one, so that a loop may let the
    /// kernel wake it. A loop with another clock is woken by nothing but posts and its owner.
    virtual bool isSteadyClock() const { return false; }
    /// Told by a loop that begins to use the clock.
    virtual void loopWasAttached(const std::shared_ptr<NSRunLoop>& loop);

    /// The machine's steady clock.
    static const std::shared_ptr<RunLoopClock>& steadyClock();
};

/// A clock that stands still until it is moved.
class TWQT_EXPORT ManualClock : public RunLoopClock {
  public:
    /// @param startInSeconds  at least 0
    explicit ManualClock(double startInSeconds = 1.0);

    std::int64_t nowInNanoseconds() const override { return now_.load(); }
    void loopWasAttached(const std::shared_ptr<NSRunLoop>& loop) override;
    /// Moves the time forward at once.
    void sleepForSeconds(double seconds) override;

    /// Moves the time forward, stopping at every deadline on the way, and fires there what is due
    /// in the calling thread's loop, in its default mode, if it uses this clock. A perform that a
    /// fired one schedules fires too when its deadline is reached; one without a delay fires at the
    /// next stop. Loops of other threads see the new time when they run next.
    void advance(double seconds);
    void advanceNanoseconds(std::int64_t nanoseconds);

  private:
    std::atomic<std::int64_t> now_;
    std::mutex mutex_;
    std::vector<std::weak_ptr<NSRunLoop>> loops_;
};

}  // namespace TWQuickTime
