#include "Engines/capture/SoundClock.h"

#include <algorithm>
#include <cmath>

namespace TWQuickTime::capture {

namespace {

/// Time stamps waver by some milliseconds; what is lost at once is more.
constexpr double kLeastLossInNanoseconds = 100e6;
constexpr double kGreatestLossInSeconds = 10;
/// Over how long the drift is smoothed.
constexpr double kSmoothingInNanoseconds = 10e9;

}  // namespace

std::int64_t SoundClock::framesLostBefore(std::int64_t nanoseconds) {
    if (!started_) {
        started_ = true;
        start_ = nanoseconds;
        return 0;
    }
    const double expected = static_cast<double>(frames_) * 1e9 / framesPerSecond_;
    const double lag = static_cast<double>(nanoseconds - start_) - expected;
    if (lag - lag_ >= kLeastLossInNanoseconds) {
        const double lost = (lag - lag_) * 1e-9;
        return std::llround(std::min(lost, kGreatestLossInSeconds) * framesPerSecond_);
    }
    // Weighed by how much was heard since, not by stamps that waver themselves.
    const double share = 1 - std::exp((heardUntilLag_ - expected) / kSmoothingInNanoseconds);
    lag_ += (lag - lag_) * share;
    heardUntilLag_ = expected;
    return 0;
}

}  // namespace TWQuickTime::capture
