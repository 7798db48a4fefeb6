#include "Engines/capture/CaptureClock.h"

#include <cerrno>
#include <ctime>

namespace TWQuickTime::capture {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

class SystemClock : public CaptureClock {
  public:
    std::int64_t nanoseconds() const override {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return std::int64_t{now.tv_sec} * kNanosecondsPerSecond + now.tv_nsec;
    }
    void waitUntil(std::int64_t nanoseconds) override {
        const timespec until{nanoseconds / kNanosecondsPerSecond,
                             nanoseconds % kNanosecondsPerSecond};
        while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
        }
    }
};

}  // namespace

CaptureClock& CaptureClock::system() {
    static SystemClock clock;
    return clock;
}

}  // namespace TWQuickTime::capture
