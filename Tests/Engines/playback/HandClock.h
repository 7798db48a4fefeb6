// A clock that stands still until a test moves it.
#pragma once

#include <atomic>

#include "Engines/playback/Clock.h"

namespace TWQuickTime::playback::test {

class HandClock final : public Clock {
  public:
    std::int64_t nanoseconds() const override { return now_.load(); }
    void advance(std::int64_t nanoseconds) { now_ += nanoseconds; }

  private:
    std::atomic<std::int64_t> now_ = 5'000'000'000;
};

}  // namespace TWQuickTime::playback::test
