#include "Engines/timeline/Region.h"

#include <algorithm>
#include <iterator>

namespace TWQuickTime::timeline {

Region Region::ofRectangle(const RegionBounds& bounds) {
    return ofRows(bounds, {});
}

Region Region::ofRows(const RegionBounds& bounds, std::vector<RegionRow> rows) {
    Region region;
    region.bounds_ = bounds;
    region.rows_ = std::move(rows);
    return region;
}

bool Region::contains(double x, double y) const {
    if (x < bounds_.left || x >= bounds_.right || y < bounds_.top || y >= bounds_.bottom) {
        return false;
    }
    if (rows_.empty()) {
        return true;
    }
    const auto below = std::ranges::upper_bound(rows_, y, {}, &RegionRow::top);
    if (below == rows_.begin()) {
        return false;
    }
    // Behind an odd number of edges lies a stretch inside.
    const std::vector<std::int16_t>& edges = std::prev(below)->edges;
    return std::ranges::distance(edges.begin(), std::ranges::upper_bound(edges, x)) % 2 == 1;
}

bool Region::covers(double left, double top, double right, double bottom) const {
    return rows_.empty() && bounds_.left <= left && bounds_.top <= top && bounds_.right >= right &&
           bounds_.bottom >= bottom;
}

}  // namespace TWQuickTime::timeline
