#include "Engines/codec/PlanarColors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "Engines/codec/LumaWeights.h"

namespace TWQuickTime::codec {

using result::Expected;

namespace {

constexpr int kFractionBits = 14;
constexpr int kHalf = 1 << (kFractionBits - 1);

using Triple = std::array<double, 3>;

/// Luma and colour differences under other weights.
Triple changed(const Triple& from, const LumaWeights& a, const LumaWeights& b) {
    const double red = from[0] + 2 * (1 - a.red) * from[2];
    const double blue = from[0] + 2 * (1 - a.blue) * from[1];
    const double green = (from[0] - a.red * red - a.blue * blue) / (1 - a.red - a.blue);
    const double luma = b.red * red + (1 - b.red - b.blue) * green + b.blue * blue;
    return {luma, (blue - luma) / (2 * (1 - b.blue)), (red - luma) / (2 * (1 - b.red))};
}

/// Whole-number coefficients: greys stay grey, so chroma never depends on luma.
struct Coefficients {
    std::int16_t lumaScale = 0, lumaFromU = 0, lumaFromV = 0;
    std::int16_t uFromU = 0, uFromV = 0, vFromU = 0, vFromV = 0;
    int lumaOffset = 0;
    bool mixes = false;
};

Coefficients coefficientsOf(const PlanarColorChange& change) {
    const LumaWeights from = *lumaWeightsOf(change.fromMatrix),
                      to = *lumaWeightsOf(change.toMatrix);
    const double fromLuma = change.fromFull ? 255 : 219, fromChroma = change.fromFull ? 255 : 224;
    const double toLuma = change.toFull ? 255 : 219, toChroma = change.toFull ? 255 : 224;
    const Triple u = changed({0, 1, 0}, from, to), v = changed({0, 0, 1}, from, to);
    const auto fixed = [](double value) {
        return static_cast<std::int16_t>(std::lround(value * (1 << kFractionBits)));
    };
    Coefficients c;
    c.lumaScale = fixed(toLuma / fromLuma);
    c.lumaFromU = fixed(u[0] * toLuma / fromChroma);
    c.lumaFromV = fixed(v[0] * toLuma / fromChroma);
    c.uFromU = fixed(u[1] * toChroma / fromChroma);
    c.uFromV = fixed(v[1] * toChroma / fromChroma);
    c.vFromU = fixed(u[2] * toChroma / fromChroma);
    c.vFromV = fixed(v[2] * toChroma / fromChroma);
    const double black = (change.toFull ? 0 : 16) - (change.fromFull ? 0 : 16) * toLuma / fromLuma;
    c.lumaOffset = int(std::lround(black * (1 << kFractionBits))) + kHalf;
    c.mixes = c.lumaFromU != 0 || c.lumaFromV != 0 || c.uFromV != 0 || c.vFromU != 0;
    return c;
}

// The arithmetic of the loops is that of vector instructions: products of 16 bits, and limits that
// are compared in 16 bits, where the sums of samples always fit.

std::uint8_t clipped(int value) {
    const auto sample = static_cast<std::int16_t>(value);
    const std::int16_t atLeast = sample > 0 ? sample : std::int16_t(0);
    return static_cast<std::uint8_t>(atLeast < 255 ? atLeast : std::int16_t(255));
}

void changeChroma(const VideoFrame& source, VideoFrame& target, const Coefficients& coefficients,
                  int width, int height) {
    constexpr int kOffset = (128 << kFractionBits) + kHalf;
    const Coefficients c = coefficients;
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* u = source.row(1, y);
        const std::uint8_t* v = source.row(2, y);
        std::uint8_t* toU = target.writableRow(1, y);
        std::uint8_t* toV = target.writableRow(2, y);
        for (int x = 0; x < width; ++x) {
            const auto du = static_cast<std::int16_t>(u[x] - 128);
            const auto dv = static_cast<std::int16_t>(v[x] - 128);
            toU[x] = clipped((c.uFromU * du + c.uFromV * dv + kOffset) >> kFractionBits);
            toV[x] = clipped((c.vFromU * du + c.vFromV * dv + kOffset) >> kFractionBits);
        }
    }
}

void changeLumaRow(const std::uint8_t* from, std::uint8_t* to, int width, std::int16_t scale,
                   const int* added) {
    for (int x = 0; x < width; ++x) {
        to[x] = clipped((scale * std::int16_t(from[x]) + added[x]) >> kFractionBits);
    }
}

/// What the chroma of a row adds to each of its luma samples, chroma repeated to full width.
void chromaShare(const VideoFrame& source, const Coefficients& c, int row, int chromaWidth,
                 int shiftX, std::vector<int>& share) {
    const std::uint8_t* u = source.row(1, row);
    const std::uint8_t* v = source.row(2, row);
    for (int x = 0; x < chromaWidth; ++x) {
        const int value = c.lumaFromU * (u[x] - 128) + c.lumaFromV * (v[x] - 128) + c.lumaOffset;
        const auto at = std::size_t(x) << shiftX;
        share[at] = value;
        share[at + (shiftX ? 1 : 0)] = value;
    }
}

}  // namespace

bool canChangeColors(PixelFormat format, const PlanarColorChange& change) {
    const bool planar = format == PixelFormat::yuv420() || format == PixelFormat::yuv422() ||
                        format == PixelFormat::yuv444();
    return planar && lumaWeightsOf(change.fromMatrix) && lumaWeightsOf(change.toMatrix);
}

Expected<VideoFrame> withChangedColors(const VideoFrame& source, const PlanarColorChange& change) {
    const PixelFormat format = source.format();
    auto made = VideoFrame::allocate(format, source.width(), source.height());
    if (!made) {
        return made;
    }
    VideoFrame& target = *made;
    const Coefficients c = coefficientsOf(change);
    const int shiftX = format.chromaShiftX(), shiftY = format.chromaShiftY();
    const int chromaWidth = -((-source.width()) >> shiftX);
    changeChroma(source, target, c, chromaWidth, -((-source.height()) >> shiftY));
    std::vector<int> share(std::size_t(chromaWidth) << shiftX, c.lumaOffset);
    int shareRow = -1;
    for (int y = 0; y < source.height(); ++y) {
        if (c.mixes && shareRow != y >> shiftY) {
            shareRow = y >> shiftY;
            chromaShare(source, c, shareRow, chromaWidth, shiftX, share);
        }
        changeLumaRow(source.row(0, y), target.writableRow(0, y), source.width(), c.lumaScale,
                      share.data());
    }
    return made;
}

}  // namespace TWQuickTime::codec
