#include "Engines/image/Scale.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Engines/image/RowScaler.h"

namespace TWQuickTime::image {
namespace {

/// The destination pixels of one axis that show something, and the source part that they show.
struct AxisPart {
    int start = 0;
    int end = 0;
    double sourceStart = 0;
    double sourceEnd = 0;
};

AxisPart clipAxis(int fromStart, int fromEnd, int sourceLength, int toStart, int toEnd,
                  int destinationLength) {
    const double step = double(fromEnd - fromStart) / (toEnd - toStart);
    // Destination pixels whose centre shows a pixel of the source, inside the destination.
    const auto firstShowing = static_cast<int>(std::ceil(toStart + (0 - fromStart) / step - 0.5));
    const auto endShowing =
        static_cast<int>(std::ceil(toStart + (sourceLength - fromStart) / step - 0.5));
    AxisPart part;
    part.start = std::max({0, toStart, firstShowing});
    part.end = std::min({destinationLength, toEnd, endShowing});
    part.sourceStart = fromStart + (part.start - toStart) * step;
    part.sourceEnd = fromStart + (part.end - toStart) * step;
    return part;
}

}  // namespace

result::Status scalePixels(ConstPixelView source, PixelRect from, PixelView destination,
                           PixelRect to) {
    if (from.isEmpty() || to.isEmpty() || source.width < 1 || source.height < 1)
        return result::Failure{result::FailureKind::badArgument, "scaling: empty rectangle"};
    const AxisPart across =
        clipAxis(from.left, from.right, source.width, to.left, to.right, destination.width);
    const AxisPart down =
        clipAxis(from.top, from.bottom, source.height, to.top, to.bottom, destination.height);
    if (across.end <= across.start || down.end <= down.start)
        return {};

    const int width = across.end - across.start;
    if (from.width() == to.width() && from.height() == to.height()) {
        const int left = from.left + across.start - to.left;
        for (int y = down.start; y < down.end; ++y)
            std::memcpy(destination.row(y) + std::ptrdiff_t{across.start} * 4,
                        source.row(from.top + y - to.top) + std::ptrdiff_t{left} * 4,
                        static_cast<std::size_t>(width) * 4);
        return {};
    }

    // Only the columns and rows that are looked at go through the scaler; one more on each side
    // serves the interpolation at the cut.
    const int left =
        std::clamp(static_cast<int>(std::floor(across.sourceStart)) - 1, 0, source.width - 1);
    const int right =
        std::clamp(static_cast<int>(std::ceil(across.sourceEnd)) + 1, left + 1, source.width);
    const int top =
        std::clamp(static_cast<int>(std::floor(down.sourceStart)) - 1, 0, source.height - 1);
    const int bottom =
        std::clamp(static_cast<int>(std::ceil(down.sourceEnd)) + 1, top + 1, source.height);
    RowScaler scaler({right - left, bottom - top, across.sourceStart - left, down.sourceStart - top,
                      across.sourceEnd - left, down.sourceEnd - top, width, down.end - down.start});
    scaler.scaleAll(source.row(top) + std::ptrdiff_t{left} * 4, source.rowBytes,
                    destination.row(down.start) + std::ptrdiff_t{across.start} * 4,
                    destination.rowBytes);
    return {};
}

}  // namespace TWQuickTime::image
