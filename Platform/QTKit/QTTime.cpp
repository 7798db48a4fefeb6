#include "QTTime.h"

#include <algorithm>
#include <cmath>

namespace TWQuickTime {
namespace {

__extension__ using Wide = __int128;

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int32_t kIntervalTimeScale = 1000000;

std::int64_t limited(Wide value) {
    return static_cast<std::int64_t>(std::clamp<Wide>(value, kLeast, kGreatest));
}

/// A scale that can be divided by; without one the value counts as 0.
Wide usableScale(QTTime time) {
    return time.timeScale > 0 ? time.timeScale : 1;
}

Wide usableValue(QTTime time) {
    return time.timeScale > 0 ? time.timeValue : 0;
}

QTTime combined(QTTime a, QTTime b, int sign) {
    if (QTTimeIsIndefinite(a) || QTTimeIsIndefinite(b))
        return QTIndefiniteTime;
    const std::int32_t scale = std::max({a.timeScale, b.timeScale, 1});
    const Wide first = usableValue(QTMakeTimeScaled(a, scale));
    const Wide second = usableValue(QTMakeTimeScaled(b, scale));
    return QTMakeTime(limited(first + sign * second), scale);
}

}  // namespace

QTTime QTMakeTimeWithTimeInterval(double seconds) {
    if (std::isnan(seconds))
        return QTIndefiniteTime;
    const double units = std::round(seconds * kIntervalTimeScale);
    // 2^63 itself is the first double that no longer fits.
    constexpr double kLimit = 9223372036854775808.0;
    if (units >= kLimit)
        return QTMakeTime(kGreatest, kIntervalTimeScale);
    if (units < -kLimit)
        return QTMakeTime(kLeast, kIntervalTimeScale);
    return QTMakeTime(static_cast<std::int64_t>(units), kIntervalTimeScale);
}

QTTime QTMakeTimeScaled(QTTime time, std::int32_t timeScale) {
    if (timeScale <= 0 || QTTimeIsIndefinite(time) || time.timeScale == timeScale)
        return time;
    const Wide scaled = usableValue(time) * timeScale;
    const Wide divisor = usableScale(time);
    const Wide half = scaled < 0 ? -(divisor / 2) : divisor / 2;
    return {limited((scaled + half) / divisor), timeScale, time.flags};
}

bool QTGetTimeInterval(QTTime time, double* seconds) {
    const bool definite = !QTTimeIsIndefinite(time) && time.timeScale > 0;
    if (seconds)
        *seconds = definite ? static_cast<double>(time.timeValue) / time.timeScale : 0;
    return definite;
}

NSComparisonResult QTTimeCompare(QTTime time, QTTime otherTime) {
    const bool indefinite = QTTimeIsIndefinite(time),
               otherIndefinite = QTTimeIsIndefinite(otherTime);
    if (indefinite || otherIndefinite)
        return indefinite == otherIndefinite ? NSOrderedSame
               : indefinite                  ? NSOrderedDescending
                                             : NSOrderedAscending;
    const Wide a = usableValue(time) * usableScale(otherTime);
    const Wide b = usableValue(otherTime) * usableScale(time);
    return a < b ? NSOrderedAscending : a > b ? NSOrderedDescending : NSOrderedSame;
}

QTTime QTTimeIncrement(QTTime time, QTTime increment) {
    return combined(time, increment, 1);
}

QTTime QTTimeDecrement(QTTime time, QTTime decrement) {
    return combined(time, decrement, -1);
}

}  // namespace TWQuickTime
