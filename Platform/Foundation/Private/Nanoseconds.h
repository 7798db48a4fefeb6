// Points in time and durations as whole nanoseconds; the ends of the range stand for "never".
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace TWQuickTime {

inline constexpr std::int64_t nanosecondsMaximum = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t nanosecondsMinimum = std::numeric_limits<std::int64_t>::min();

/// 0 for what is no number or negative.
inline std::int64_t nanosecondsFromSeconds(double seconds) {
    const double nanoseconds = seconds * 1e9;
    if (!(nanoseconds > 0))
        return 0;
    return nanoseconds < 9.2e18 ? std::llround(nanoseconds) : nanosecondsMaximum;
}

/// The sum, or the end of the range that it passes.
inline std::int64_t sumWithinRange(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum))
        return sum;
    return b > 0 ? nanosecondsMaximum : nanosecondsMinimum;
}

}  // namespace TWQuickTime
