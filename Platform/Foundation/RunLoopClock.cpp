#include "RunLoopClock.h"

#include <time.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "NSRunLoop.h"
#include "Private/Nanoseconds.h"

namespace TWQuickTime {
namespace {

class SteadyClock : public RunLoopClock {
  public:
    std::int64_t nowInNanoseconds() const override {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    }
    bool isSteadyClock() const override { return true; }
    void sleepForSeconds(double seconds) override {
        const std::int64_t end = sumWithinRange(
            nowInNanoseconds(), std::max<std::int64_t>(nanosecondsFromSeconds(seconds), 0));
        const timespec wake{end / 1'000'000'000, end % 1'000'000'000};
        while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &wake, nullptr) == EINTR) {
        }
    }
};

}  // namespace

RunLoopClock::~RunLoopClock() = default;

void RunLoopClock::loopWasAttached(const std::shared_ptr<NSRunLoop>&) {}

const std::shared_ptr<RunLoopClock>& RunLoopClock::steadyClock() {
    static const auto& clock = *new std::shared_ptr<RunLoopClock>(std::make_shared<SteadyClock>());
    return clock;
}

ManualClock::ManualClock(double startInSeconds) : now_(nanosecondsFromSeconds(startInSeconds)) {}

void ManualClock::loopWasAttached(const std::shared_ptr<NSRunLoop>& loop) {
    std::lock_guard lock(mutex_);
    std::erase_if(loops_, [](const auto& old) { return old.expired(); });
    loops_.push_back(loop);
}

void ManualClock::sleepForSeconds(double seconds) {
    now_ = sumWithinRange(now_, std::max<std::int64_t>(nanosecondsFromSeconds(seconds), 0));
}

void ManualClock::advance(double seconds) {
    advanceNanoseconds(nanosecondsFromSeconds(seconds));
}

void ManualClock::advanceNanoseconds(std::int64_t nanoseconds) {
    std::vector<std::shared_ptr<NSRunLoop>> others;
    std::shared_ptr<NSRunLoop> own;
    {
        std::lock_guard lock(mutex_);
        for (const auto& attached : loops_) {
            std::shared_ptr<NSRunLoop> loop = attached.lock();
            if (!loop)
                continue;
            if (!loop->isOnItsThread())
                others.push_back(std::move(loop));
            else if (loop->clock().get() == this)
                own = std::move(loop);
        }
    }
    const std::int64_t end = sumWithinRange(now_, std::max<std::int64_t>(nanoseconds, 0));
    if (own) {
        own->runOnce();
        for (auto next = own->deadlineAfter(now_); next && *next <= end;
             next = own->deadlineAfter(now_)) {
            now_ = *next;
            own->runOnce();
        }
    }
    if (now_ < end) {
        now_ = end;
        if (own)
            own->runOnce();
    }
    for (const auto& loop : others)
        loop->wakeUp();
}

}  // namespace TWQuickTime
