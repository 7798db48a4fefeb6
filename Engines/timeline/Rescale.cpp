#include "Engines/timeline/Rescale.h"

#include <algorithm>
#include <limits>

namespace TWQuickTime::timeline {
namespace {

__extension__ using Wide = __int128;

std::int64_t saturate(Wide value) {
    constexpr Wide least = std::numeric_limits<std::int64_t>::min();
    constexpr Wide greatest = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::clamp(value, least, greatest));
}

/// The quotient toward negative infinity, for a divisor above 0.
Wide floorDivide(Wide dividend, Wide divisor) {
    const Wide quotient = dividend / divisor;
    return dividend % divisor < 0 ? quotient - 1 : quotient;
}

}  // namespace

std::int64_t rescale(std::int64_t value, std::int64_t fromScale, std::int64_t toScale) {
    if (fromScale <= 0 || toScale == 0)
        return 0;
    const Wide product = static_cast<Wide>(value) * toScale;
    const Wide half = fromScale / 2;
    return saturate(product < 0 ? -((-product + half) / fromScale) : (product + half) / fromScale);
}

std::int64_t rescaleDown(std::int64_t value, std::int64_t fromScale, std::int64_t toScale) {
    if (fromScale <= 0 || toScale == 0)
        return 0;
    return saturate(floorDivide(static_cast<Wide>(value) * toScale, fromScale));
}

std::int64_t rescaleUp(std::int64_t value, std::int64_t fromScale, std::int64_t toScale) {
    if (fromScale <= 0 || toScale == 0)
        return 0;
    return saturate(-floorDivide(-(static_cast<Wide>(value) * toScale), fromScale));
}

}  // namespace TWQuickTime::timeline
