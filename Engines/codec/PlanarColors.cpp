#include "Engines/codec/PlanarColors.h"

#include <algorithm>
#include <array>
#include <cmath>

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

std::int16_t fixed(double value) {
    return static_cast<std::int16_t>(std::lround(value * (1 << kFractionBits)));
}

LumaWeights weightsOf(int matrix) {
    constexpr int kBt601 = 6;
    return lumaWeightsOf(matrix).value_or(*lumaWeightsOf(kBt601));
}

// The arithmetic of the loops is that of vector instructions: products of 16 bits, and limits that
// are compared in 16 bits, where the sums of samples always fit.

std::uint8_t clipped(int value) {
    const auto sample = static_cast<std::int16_t>(value);
    const std::int16_t atLeast = sample > 0 ? sample : std::int16_t(0);
    return static_cast<std::uint8_t>(atLeast < 255 ? atLeast : std::int16_t(255));
}

/// sample × scale + offset, with 6 fraction bits between: eight samples fit a vector of SSE2.
/// @param scale   with 14 fraction bits, below 2
/// @param offset  with 14 fraction bits, the half that rounds included
void changeAlone(const std::uint8_t* from, std::uint8_t* to, int width, std::int16_t scale,
                 int offset) {
    constexpr int kKeptBits = 6;
    const auto factor = static_cast<std::uint16_t>(scale);
    // Products are cut off at the kept bits: half of the last one on average, which with what is
    // cut off here makes a whole one.
    const auto added = static_cast<std::int16_t>((offset >> (kFractionBits - kKeptBits)) + 1);
    for (int x = 0; x < width; ++x) {
        const auto shifted = static_cast<std::uint16_t>(from[x] << 8);
        const auto product = static_cast<std::uint16_t>((std::uint32_t(shifted) * factor) >> 16);
        to[x] = clipped(static_cast<std::int16_t>(std::int16_t(product) + added) >> kKeptBits);
    }
}

}  // namespace

PlanarColorRows::PlanarColorRows(const PlanarColorChange& change) {
    const LumaWeights from = weightsOf(change.fromMatrix), to = weightsOf(change.toMatrix);
    const double fromLuma = change.fromFull ? 255 : 219, fromChroma = change.fromFull ? 255 : 224;
    const double toLuma = change.toFull ? 255 : 219, toChroma = change.toFull ? 255 : 224;
    const Triple u = changed({0, 1, 0}, from, to), v = changed({0, 0, 1}, from, to);
    lumaScale_ = fixed(toLuma / fromLuma);
    lumaFromU_ = fixed(u[0] * toLuma / fromChroma);
    lumaFromV_ = fixed(v[0] * toLuma / fromChroma);
    uFromU_ = fixed(u[1] * toChroma / fromChroma);
    uFromV_ = fixed(v[1] * toChroma / fromChroma);
    vFromU_ = fixed(u[2] * toChroma / fromChroma);
    vFromV_ = fixed(v[2] * toChroma / fromChroma);
    const double black = (change.toFull ? 0 : 16) - (change.fromFull ? 0 : 16) * toLuma / fromLuma;
    lumaOffset_ = int(std::lround(black * (1 << kFractionBits))) + kHalf;
    mixes_ = lumaFromU_ != 0 || lumaFromV_ != 0 || uFromV_ != 0 || vFromU_ != 0;
    keepsAll_ = !mixes_ && change.fromFull == change.toFull;
}

void PlanarColorRows::changeChroma(const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* toU,
                                   std::uint8_t* toV, int width) const {
    constexpr int kOffset = (128 << kFractionBits) + kHalf;
    if (!mixes_) {
        changeAlone(u, toU, width, uFromU_, kOffset - 128 * uFromU_);
        changeAlone(v, toV, width, vFromV_, kOffset - 128 * vFromV_);
        return;
    }
    const std::int16_t uFromU = uFromU_, uFromV = uFromV_, vFromU = vFromU_, vFromV = vFromV_;
    for (int x = 0; x < width; ++x) {
        const auto du = static_cast<std::int16_t>(u[x] - 128);
        const auto dv = static_cast<std::int16_t>(v[x] - 128);
        toU[x] = clipped((uFromU * du + uFromV * dv + kOffset) >> kFractionBits);
        toV[x] = clipped((vFromU * du + vFromV * dv + kOffset) >> kFractionBits);
    }
}

void PlanarColorRows::beginLuma(const std::uint8_t* u, const std::uint8_t* v, int chromaWidth,
                                int shiftX) {
    if (!mixes_) {
        return;
    }
    chromaShare_.resize(std::size_t(chromaWidth) << shiftX);
    for (int x = 0; x < chromaWidth; ++x) {
        const int value = lumaFromU_ * (u[x] - 128) + lumaFromV_ * (v[x] - 128) + lumaOffset_;
        const auto at = std::size_t(x) << shiftX;
        chromaShare_[at] = value;
        chromaShare_[at + (shiftX ? 1 : 0)] = value;
    }
}

void PlanarColorRows::changeLuma(const std::uint8_t* from, std::uint8_t* to, int width) const {
    if (!mixes_) {
        changeAlone(from, to, width, lumaScale_, lumaOffset_);
        return;
    }
    const std::int16_t scale = lumaScale_;
    const int* added = chromaShare_.data();
    for (int x = 0; x < width; ++x) {
        to[x] = clipped((scale * std::int16_t(from[x]) + added[x]) >> kFractionBits);
    }
}

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
    PlanarColorRows rows(change);
    const int shiftX = format.chromaShiftX(), shiftY = format.chromaShiftY();
    const int chromaWidth = -((-source.width()) >> shiftX);
    const int chromaHeight = -((-source.height()) >> shiftY);
    for (int row = 0; row < chromaHeight; ++row) {
        const std::uint8_t* u = source.row(1, row);
        const std::uint8_t* v = source.row(2, row);
        rows.changeChroma(u, v, target.writableRow(1, row), target.writableRow(2, row),
                          chromaWidth);
        rows.beginLuma(u, v, chromaWidth, shiftX);
        const int end = std::min((row + 1) << shiftY, source.height());
        for (int y = row << shiftY; y < end; ++y) {
            rows.changeLuma(source.row(0, y), target.writableRow(0, y), source.width());
        }
    }
    return made;
}

}  // namespace TWQuickTime::codec
