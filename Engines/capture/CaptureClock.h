// The clock that captured units are stamped with, and that made-up devices are paced by.
#pragma once

#include <cstdint>

namespace TWQuickTime::capture {

class CaptureClock {
  public:
    virtual ~CaptureClock() = default;
    virtual std::int64_t nanoseconds() const = 0;
    /// Returns when the clock has reached the time; any thread.
    virtual void waitUntil(std::int64_t nanoseconds) = 0;

    /// The system's monotonic clock; lives for ever.
    static CaptureClock& system();
};

}  // namespace TWQuickTime::capture
