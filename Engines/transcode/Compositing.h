// Putting one picture over another.
#pragma once

#include <array>
#include <cstdint>

#include "Engines/codec/VideoFrame.h"
#include "Engines/transcode/Affine.h"

namespace TWQuickTime::transcode {

/// How a picture's pixels combine with those behind them; the numbers are those of files.
enum class GraphicsMode : std::uint16_t {
    copy = 0,
    blend = 0x20,        ///< weighted by the op colour, channel by channel
    transparent = 0x24,  ///< pixels of the op colour are left out
    ditherCopy = 0x40,
    straightAlpha = 0x100,
    premultipliedWhite = 0x101,
    premultipliedBlack = 0x102,
    composition = 0x103,
    straightAlphaBlend = 0x104,  ///< alpha weighted by the op colour
};

struct DrawingMode {
    GraphicsMode mode = GraphicsMode::copy;
    /// Red, green, blue, 16 bits each.
    std::array<std::uint16_t, 3> opColor = {0x8000, 0x8000, 0x8000};
};

/// Draws a picture (bytes B G R A) into a canvas of the same layout wherever the map hits it, with
/// bilinear interpolation.
void drawMapped(codec::VideoFrame& canvas, const codec::VideoFrame& picture,
                const Affine& toPicture, const DrawingMode& mode);

/// The same without any transformation: the picture's top left corner at (x, y).
void drawAt(codec::VideoFrame& canvas, const codec::VideoFrame& picture, int x, int y,
            const DrawingMode& mode);

}  // namespace TWQuickTime::transcode
