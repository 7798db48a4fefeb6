// A time as a whole number of units, so that frames keep their exact places.
#pragma once

#include <cstdint>
#include <numeric>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::transcode {

struct Time {
    std::int64_t value = 0;
    /// Units per second, at least 1.
    std::int64_t scale = 600;

    double seconds() const { return double(value) / double(scale); }
    /// In other units, toward negative infinity.
    std::int64_t in(std::int64_t otherScale) const {
        return timeline::rescaleDown(value, scale, otherScale);
    }
    /// In other units, to the nearest one.
    std::int64_t nearestIn(std::int64_t otherScale) const {
        return timeline::rescale(value, scale, otherScale);
    }
};

__extension__ using Wide = __int128;

inline bool operator<(const Time& a, const Time& b) {
    return static_cast<Wide>(a.value) * b.scale < static_cast<Wide>(b.value) * a.scale;
}

}  // namespace TWQuickTime::transcode
