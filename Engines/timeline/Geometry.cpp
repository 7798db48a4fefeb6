#include "Engines/timeline/Geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TWQuickTime::timeline {
namespace {

constexpr double kOne16 = 65536.0;
constexpr double kOne30 = 1073741824.0;

/// The elements of a matrix as numbers, row by row.
using Elements = std::array<double, 9>;

/// The last of each row is 2.30, the others are 16.16.
double unitOf(std::size_t index) {
    return index % 3 == 2 ? kOne30 : kOne16;
}

Elements elementsOf(const Matrix& matrix) {
    Elements elements;
    for (std::size_t i = 0; i < elements.size(); ++i)
        elements[i] = matrix[i] / unitOf(i);
    return elements;
}

Matrix matrixOf(const Elements& elements) {
    Matrix matrix;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const double value = std::round(elements[i] * unitOf(i));
        matrix[i] = static_cast<std::int32_t>(
            std::clamp(value, double{std::numeric_limits<std::int32_t>::min()},
                       double{std::numeric_limits<std::int32_t>::max()}));
    }
    return matrix;
}

Box around(const Box& a, const Box& b) {
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

double scaleFromTo(double from, double to) {
    return from == 0 ? 1 : to / from;
}

}  // namespace

Point transformed(const Matrix& matrix, Point point) {
    const Elements m = elementsOf(matrix);
    const double x = m[0] * point.x + m[3] * point.y + m[6];
    const double y = m[1] * point.x + m[4] * point.y + m[7];
    const double w = m[2] * point.x + m[5] * point.y + m[8];
    return w == 0 || w == 1 ? Point{x, y} : Point{x / w, y / w};
}

Box transformed(const Matrix& matrix, const Box& box) {
    const Point corners[] = {transformed(matrix, Point{box.left, box.top}),
                             transformed(matrix, Point{box.right, box.top}),
                             transformed(matrix, Point{box.left, box.bottom}),
                             transformed(matrix, Point{box.right, box.bottom})};
    Box result{corners[0].x, corners[0].y, corners[0].x, corners[0].y};
    for (const Point& corner : corners)
        result = around(result, {corner.x, corner.y, corner.x, corner.y});
    return result;
}

Matrix multiplied(const Matrix& first, const Matrix& second) {
    const Elements a = elementsOf(first), b = elementsOf(second);
    Elements product{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            for (std::size_t k = 0; k < 3; ++k)
                product[row * 3 + column] += a[row * 3 + k] * b[k * 3 + column];
    return matrixOf(product);
}

Matrix matrixFromTo(const Box& from, const Box& to) {
    const double x = scaleFromTo(from.width(), to.width());
    const double y = scaleFromTo(from.height(), to.height());
    return matrixOf({x, 0, 0, 0, y, 0, to.left - x * from.left, to.top - y * from.top, 1});
}

bool isVisual(FourCharCode mediaType) {
    return mediaType == fourCharCode("vide") || mediaType == fourCharCode("text") ||
           mediaType == fourCharCode("sbtl");
}

Box boxOfTrack(const Track& track, ApertureMode mode) {
    const Dimensions dimensions = dimensionsInMode(track, mode);
    return {0, 0, dimensions.width / kOne16, dimensions.height / kOne16};
}

Box boxOfMovie(const Movie& movie, ApertureMode mode) {
    Box result;
    bool any = false;
    for (const auto& track : movie.tracks) {
        if (!track->enabled() || !track->media || !isVisual(track->media->type()))
            continue;
        const Box box =
            transformed(multiplied(track->matrix, movie.matrix), boxOfTrack(*track, mode));
        result = any ? around(result, box) : box;
        any = true;
    }
    return result;
}

}  // namespace TWQuickTime::timeline
