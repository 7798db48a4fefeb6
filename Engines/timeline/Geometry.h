// Matrices applied to points and boxes, and the box that a movie covers.
//
//     Box box = boxOfMovie(movie);                  // what is seen, in movie pixels
//     movie.matrix = multiplied(movie.matrix, matrixFromTo(box, wanted));
#pragma once

#include "Engines/timeline/ApertureMode.h"
#include "Engines/timeline/Matrix.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::timeline {

/// Edges in pixels; right and bottom lie outside.
struct Box {
    double left = 0, top = 0, right = 0, bottom = 0;
    double width() const { return right - left; }
    double height() const { return bottom - top; }
    bool operator==(const Box&) const = default;
};

struct Point {
    double x = 0, y = 0;
};

Point transformed(const Matrix& matrix, Point point);
/// The smallest upright box around a transformed one.
Box transformed(const Matrix& matrix, const Box& box);

/// First `first`, then `second`. Values beyond the range of the fixed-point fields are limited.
Matrix multiplied(const Matrix& first, const Matrix& second);

/// Moves and scales one box onto another; a side of length 0 is only moved.
Matrix matrixFromTo(const Box& from, const Box& to);

/// The size of a track in pixels, at the origin.
Box boxOfTrack(const Track& track, ApertureMode mode = ApertureMode::classic);
/// The smallest box around all enabled visual tracks, after their matrices and the movie's; all 0
/// when there is none.
Box boxOfMovie(const Movie& movie, ApertureMode mode = ApertureMode::classic);
/// Whether a media is seen.
bool isVisual(FourCharCode mediaType);

}  // namespace TWQuickTime::timeline
