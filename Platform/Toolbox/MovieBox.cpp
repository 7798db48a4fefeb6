#include <algorithm>
#include <cmath>
#include <limits>

#include "Engines/timeline/Geometry.h"
#include "Movies.h"
#include "Private/RecordCalls.h"

namespace TWQuickTime {
namespace {

std::int16_t edge(double pixels) {
    return static_cast<std::int16_t>(std::clamp(std::round(pixels),
                                                double{std::numeric_limits<std::int16_t>::min()},
                                                double{std::numeric_limits<std::int16_t>::max()}));
}

}  // namespace

void GetMovieBox(Movie movie, Rect* box) {
    if (box)
        *box = {};
    workOnObject("GetMovieBox", movie, [&](const MovieRecord& record) -> OSErr {
        if (!box)
            return paramErr;
        const timeline::Box present = timeline::boxOfMovie(*record.movie, record.apertureMode);
        *box = {edge(present.top), edge(present.left), edge(present.bottom), edge(present.right)};
        return noErr;
    });
}

void SetMovieBox(Movie movie, const Rect* box) {
    workOnObject("SetMovieBox", movie, [&](MovieRecord& record) -> OSErr {
        if (!box)
            return paramErr;
        const timeline::Box wanted{.left = double(box->left),
                                   .top = double(box->top),
                                   .right = double(box->right),
                                   .bottom = double(box->bottom)};
        record.movie->matrix = timeline::multiplied(
            record.movie->matrix,
            timeline::matrixFromTo(timeline::boxOfMovie(*record.movie, record.apertureMode),
                                   wanted));
        return noErr;
    });
}

void SetMovieMatrix(Movie movie, const MatrixRecord* matrix) {
    changeObject("SetMovieMatrix", movie, [&](MovieRecord& record) {
        const MatrixRecord wanted = matrix ? *matrix : MatrixRecord{};
        std::copy_n(&wanted.matrix[0][0], 9, record.movie->matrix.begin());
    });
}

void GetMovieMatrix(Movie movie, MatrixRecord* matrix) {
    workOnObject("GetMovieMatrix", movie, [&](const MovieRecord& record) -> OSErr {
        if (!matrix)
            return paramErr;
        std::copy_n(record.movie->matrix.begin(), 9, &matrix->matrix[0][0]);
        return noErr;
    });
}

}  // namespace TWQuickTime
