// Time as a value: a count of units, the units of one second, and flags.
//
// Two times are the same when they are the same moment, whatever their scales (1/25 is 2/50).
// The indefinite time comes after every other; a scale of 0 or below stands for the moment 0.
//
//     QTTime middle = QTMakeTime(duration.timeValue / 2, duration.timeScale);
//     if (QTTimeCompare(middle, current) == NSOrderedAscending) rewind();
#pragma once

#include <cstdint>
#include <limits>

#include "NSComparisonResult.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Flag of a time that is not known or has no end.
inline constexpr std::int32_t kQTTimeIsIndefinite = 1;

struct QTTime {
    std::int64_t timeValue = 0;
    std::int32_t timeScale = 0;  ///< units per second
    std::int32_t flags = 0;
    /// Field by field; see QTTimeCompare for the same moment in different scales.
    friend constexpr bool operator==(const QTTime&, const QTTime&) = default;
};

/// A start and a length.
struct QTTimeRange {
    QTTime time;
    QTTime duration;
    friend constexpr bool operator==(const QTTimeRange&, const QTTimeRange&) = default;
};

inline constexpr QTTime QTZeroTime{0, 1, 0};
inline constexpr QTTime QTIndefiniteTime{std::numeric_limits<std::int64_t>::max(), 1,
                                         kQTTimeIsIndefinite};

constexpr QTTime QTMakeTime(std::int64_t timeValue, std::int32_t timeScale) {
    return {timeValue, timeScale, 0};
}

constexpr QTTimeRange QTMakeTimeRange(QTTime time, QTTime duration) {
    return {time, duration};
}

constexpr bool QTTimeIsIndefinite(QTTime time) {
    return (time.flags & kQTTimeIsIndefinite) != 0;
}

/// The time of a number of seconds in units of a millionth, to the nearest unit; numbers that are
/// none or do not fit give the indefinite time or the nearest one that fits.
TWQT_EXPORT QTTime QTMakeTimeWithTimeInterval(double seconds);

/// The same moment at another scale, to the nearest unit, limited to the range of 64 bits.
/// @param timeScale  units per second, above 0; otherwise the time comes back as it is
TWQT_EXPORT QTTime QTMakeTimeScaled(QTTime time, std::int32_t timeScale);

/// @param seconds  may be null; 0 when false is returned
/// @return false for the indefinite time and for a scale of 0 or below
TWQT_EXPORT bool QTGetTimeInterval(QTTime time, double* seconds);

TWQT_EXPORT NSComparisonResult QTTimeCompare(QTTime time, QTTime otherTime);

/// Sum and difference in the finer of the two scales; indefinite when either is.
TWQT_EXPORT QTTime QTTimeIncrement(QTTime time, QTTime increment);
TWQT_EXPORT QTTime QTTimeDecrement(QTTime time, QTTime decrement);

}  // namespace TWQuickTime
