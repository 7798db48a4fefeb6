// Where things of a movie lie on a canvas: plane transformations in floating point.
#pragma once

#include <algorithm>
#include <cmath>

#include "Engines/timeline/Matrix.h"

namespace TWQuickTime::transcode {

/// x' = a·x + c·y + x0, y' = b·x + d·y + y0, in pixels; pixel centres lie at .5.
struct Affine {
    double a = 1, b = 0, c = 0, d = 1, x = 0, y = 0;

    /// The affine part of a matrix; perspective is not drawn.
    static Affine of(const timeline::Matrix& m) {
        constexpr double kOne = 65536.0;
        return {m[0] / kOne, m[1] / kOne, m[3] / kOne, m[4] / kOne, m[6] / kOne, m[7] / kOne};
    }

    /// First this one, then the other.
    Affine then(const Affine& o) const {
        return {a * o.a + b * o.c, a * o.b + b * o.d,       c * o.a + d * o.c,
                c * o.b + d * o.d, x * o.a + y * o.c + o.x, x * o.b + y * o.d + o.y};
    }

    /// Only scaled and moved, not turned, mirrored or skewed.
    bool isUpright() const { return std::abs(b) < 1e-6 && std::abs(c) < 1e-6 && a > 0 && d > 0; }

    /// The way back; one that hits nothing when the plane is squeezed to a line.
    Affine inverse() const {
        const double determinant = a * d - b * c;
        if (std::abs(determinant) < 1e-12) {
            return {0, 0, 0, 0, -1, -1};
        }
        Affine back{d / determinant, -b / determinant, -c / determinant, a / determinant, 0, 0};
        back.x = -(back.a * x + back.c * y);
        back.y = -(back.b * x + back.d * y);
        return back;
    }
};

/// An upright box.
struct Extent {
    double left = 0, top = 0, right = 0, bottom = 0;
    double width() const { return right - left; }
    double height() const { return bottom - top; }

    /// Around a picture of a size, after a transformation.
    static Extent of(const Affine& map, double width, double height) {
        const double xs[] = {map.x, map.x + map.a * width, map.x + map.c * height,
                             map.x + map.a * width + map.c * height};
        const double ys[] = {map.y, map.y + map.b * width, map.y + map.d * height,
                             map.y + map.b * width + map.d * height};
        return {*std::min_element(xs, xs + 4), *std::min_element(ys, ys + 4),
                *std::max_element(xs, xs + 4), *std::max_element(ys, ys + 4)};
    }
    Extent with(const Extent& other) const {
        return {std::min(left, other.left), std::min(top, other.top), std::max(right, other.right),
                std::max(bottom, other.bottom)};
    }
};

}  // namespace TWQuickTime::transcode
