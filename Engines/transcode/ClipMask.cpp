#include "Engines/transcode/ClipMask.h"

#include <cstring>

#include "Engines/moviefile/ClipAtom.h"

namespace TWQuickTime::transcode {

namespace {

constexpr int kBytesPerPixel = 4;

/// A region, and the way from the canvas to its pixels.
struct PlacedClip {
    timeline::Region region;
    Affine fromCanvas;

    bool contains(double x, double y) const {
        return region.contains(fromCanvas.a * x + fromCanvas.c * y + fromCanvas.x,
                               fromCanvas.b * x + fromCanvas.d * y + fromCanvas.y);
    }
};

Extent extentOf(const timeline::Track& track, const Affine& placement) {
    return Extent::of(placement, track.dimensions.width / 65536.0,
                      track.dimensions.height / 65536.0);
}

bool cuts(const std::optional<timeline::Region>& region, const Extent& extent) {
    return region && !region->covers(extent.left, extent.top, extent.right, extent.bottom);
}

}  // namespace

bool ClipMask::isNeeded(const timeline::Movie& movie, const timeline::Track& track) {
    return cuts(moviefile::clipOf(track), extentOf(track, Affine())) ||
           cuts(moviefile::clipOf(movie), extentOf(track, Affine::of(track.matrix)));
}

std::optional<ClipMask> ClipMask::make(const timeline::Movie& movie, const timeline::Track& track,
                                       const Affine& toCanvas, int width, int height) {
    if (!isNeeded(movie, track)) {
        return std::nullopt;
    }
    const Affine movieToCanvas = Affine::of(movie.matrix).then(toCanvas);
    std::vector<PlacedClip> clips;
    if (auto region = moviefile::clipOf(track)) {
        clips.push_back(
            {std::move(*region), Affine::of(track.matrix).then(movieToCanvas).inverse()});
    }
    if (auto region = moviefile::clipOf(movie)) {
        clips.push_back({std::move(*region), movieToCanvas.inverse()});
    }
    ClipMask mask(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            bool drawable = true;
            for (const PlacedClip& clip : clips) {
                drawable = drawable && clip.contains(x + 0.5, y + 0.5);
            }
            mask.drawable_[std::size_t(y) * std::size_t(width) + std::size_t(x)] = drawable;
        }
    }
    return mask;
}

void ClipMask::restore(codec::VideoFrame& canvas, const codec::VideoFrame& before) const {
    for (int y = 0; y < canvas.height(); ++y) {
        const std::uint8_t* drawable = drawable_.data() + std::size_t(y) * std::size_t(width_);
        std::uint8_t* to = canvas.writableRow(0, y);
        const std::uint8_t* from = before.row(0, y);
        for (int x = 0; x < canvas.width(); ++x) {
            if (!drawable[x]) {
                std::memcpy(to + x * kBytesPerPixel, from + x * kBytesPerPixel, kBytesPerPixel);
            }
        }
    }
}

}  // namespace TWQuickTime::transcode
