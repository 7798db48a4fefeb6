#include "Engines/codec/PalettePicture.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "Engines/codec/Private/Native.h"
#include "Engines/codec/SampleDescription.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

constexpr std::array<std::array<int, 4>, 4> kPattern = {
    {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}}};

/// The level 0…5 of the cube nearest to a value, moved by the dither pattern.
int cubeLevel(int value, int threshold) {
    return std::min(5, (value * 16 + threshold * 51) / (51 * 16));
}

}  // namespace

Expected<VideoFrame> palettePicture(const VideoFrame& rgb) {
    if (!rgb || rgb.format() != PixelFormat::rgb24()) {
        return Failure{FailureKind::badArgument, "only RGB pictures become indexed ones"};
    }
    auto made = VideoFrame::allocate(PixelFormat(AV_PIX_FMT_PAL8), rgb.width(), rgb.height());
    if (!made) {
        return made.failure();
    }
    const std::vector<std::uint32_t> palette = standardPalette(8);
    std::memcpy(made->native()->frame->data[1], palette.data(), palette.size() * 4);
    for (int y = 0; y < rgb.height(); ++y) {
        const std::uint8_t* from = rgb.row(0, y);
        std::uint8_t* to = made->writableRow(0, y);
        for (int x = 0; x < rgb.width(); ++x, from += 3) {
            const int threshold = kPattern[std::size_t(y & 3)][std::size_t(x & 3)];
            // The table runs from white to black; black stands at its end, out of the cube.
            const int index = (5 - cubeLevel(from[0], threshold)) * 36 +
                              (5 - cubeLevel(from[1], threshold)) * 6 +
                              (5 - cubeLevel(from[2], threshold));
            to[x] = static_cast<std::uint8_t>(index == 215 ? 255 : index);
        }
    }
    VideoFrame result = *made;
    result.time = rgb.time;
    result.duration = rgb.duration;
    return result;
}

}  // namespace TWQuickTime::codec
