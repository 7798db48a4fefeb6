#include "Engines/playback/Clock.h"

#include <chrono>

namespace TWQuickTime::playback {
namespace {

class SteadyClock final : public Clock {
  public:
    std::int64_t nanoseconds() const override {
        return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
};

}  // namespace

const std::shared_ptr<const Clock>& Clock::steady() {
    static const std::shared_ptr<const Clock> clock = std::make_shared<SteadyClock>();
    return clock;
}

}  // namespace TWQuickTime::playback
