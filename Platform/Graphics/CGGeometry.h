// Points, sizes and rectangles of the drawing calls, in floating-point pixels. The origin is the
// lower left corner, y grows upward.
#pragma once

namespace TWQuickTime {

struct CGPoint {
    double x = 0;
    double y = 0;
    friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

struct CGSize {
    double width = 0;
    double height = 0;
    friend bool operator==(const CGSize&, const CGSize&) = default;
};

struct CGRect {
    CGPoint origin;
    CGSize size;
    friend bool operator==(const CGRect&, const CGRect&) = default;
};

constexpr CGRect CGRectMake(double x, double y, double width, double height) {
    return {{x, y}, {width, height}};
}

using NSPoint = CGPoint;
using NSSize = CGSize;
using NSRect = CGRect;
inline constexpr NSSize NSZeroSize = {};

constexpr NSSize NSMakeSize(double width, double height) {
    return {width, height};
}

}  // namespace TWQuickTime
