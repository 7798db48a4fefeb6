// Pictures of 256 colours that suit them.
//
// Colours are chosen from the first picture by cutting its histogram where they differ most, and
// anew when a later picture would look clearly worse with them than the first one did: pictures of
// one scene share their colours, which keeps files small. A picture of few colours keeps them.
//
//     AdaptivePalette palette;
//     auto indexed = palette.convert(rgbPicture);
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Engines/codec/VideoFrame.h"

namespace TWQuickTime::codec {

class AdaptivePalette {
  public:
    AdaptivePalette();

    /// An indexed picture with its palette; only for RGB of 24 bits.
    result::Expected<VideoFrame> convert(const VideoFrame& rgb);

    /// One of the colours that a picture consists of, with how many of its pixels have it.
    struct Color {
        std::array<int, 3> rgb{};
        std::int64_t count = 0;
    };

  private:
    void choose(std::vector<Color> colors);
    /// The mean squared distance of colours to those of the palette.
    double errorOf(const std::vector<Color>& colors);
    int nearest(int red, int green, int blue);

    std::vector<std::array<int, 3>> palette_;
    /// By colour of 15 bits: the nearest of the palette, −1 where nobody asked yet.
    std::vector<std::int16_t> nearest_;
    double errorWhenChosen_ = 0;
    bool exact_ = false;
};

}  // namespace TWQuickTime::codec
