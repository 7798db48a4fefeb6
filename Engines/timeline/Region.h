// A region of the plane with whole-numbered edges: a rectangle, or any shape made of rows.
//
//     const Region region = Region::ofRectangle({.left = 0, .top = 0, .right = 320, .bottom =
//     240}); region.contains(319.5, 0.5);   // true
#pragma once

#include <cstdint>
#include <vector>

namespace TWQuickTime::timeline {

/// Right and bottom edges lie outside.
struct RegionBounds {
    std::int16_t left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(const RegionBounds&) const = default;
};

/// Holds from its top down to the next row's.
struct RegionRow {
    std::int16_t top = 0;
    /// Where the region begins and ends along the row, by turns, growing.
    std::vector<std::int16_t> edges = {};
};

class Region {
  public:
    static Region ofRectangle(const RegionBounds& bounds);
    /// @param rows  from top to bottom; the last one has no edges
    static Region ofRows(const RegionBounds& bounds, std::vector<RegionRow> rows);

    const RegionBounds& bounds() const { return bounds_; }
    bool contains(double x, double y) const;
    /// Whether the region has all of the box.
    bool covers(double left, double top, double right, double bottom) const;

  private:
    RegionBounds bounds_;
    std::vector<RegionRow> rows_;  ///< none: the region is its bounds
};

}  // namespace TWQuickTime::timeline
