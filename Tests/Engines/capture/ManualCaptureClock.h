// A clock that stands wherever a wait asks it to: made-up devices deliver as fast as they are read.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "Engines/capture/CaptureClock.h"

namespace TWQuickTime::test {

class ManualCaptureClock : public capture::CaptureClock {
  public:
    std::int64_t nanoseconds() const override { return now_; }
    void waitUntil(std::int64_t nanoseconds) override { now_ = std::max(now_.load(), nanoseconds); }

  private:
    std::atomic<std::int64_t> now_ = 1'000'000'000;
};

}  // namespace TWQuickTime::test
