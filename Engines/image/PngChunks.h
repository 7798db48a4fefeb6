// The chunks of a PNG file (ISO/IEC 15948), found and checked without decoding the picture.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Engines/image/ColorTransform.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::image {

enum class PngColor : std::uint8_t { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgbAlpha = 6 };

struct PngHeader {
    int width = 0;
    int height = 0;
    int bitDepth = 8;
    PngColor color = PngColor::rgb;
    bool interlaced = false;

    int channels() const;
    int bitsPerPixel() const { return channels() * bitDepth; }
    /// Bytes of a row of that many pixels, without the filter byte.
    std::size_t rowBytes(int pixels) const {
        return (static_cast<std::size_t>(pixels) * static_cast<unsigned>(bitsPerPixel()) + 7) / 8;
    }
};

struct PngFile {
    PngHeader header;
    int paletteSize = 0;
    std::array<std::uint8_t, 256 * 4> palette{};  ///< A R G B
    bool hasTransparency = false;                 ///< any tRNS chunk, or an alpha channel
    std::optional<std::array<std::uint16_t, 3>>
        transparentColor;                          ///< grey in the first, or red, green, blue
    std::vector<std::span<const std::byte>> data;  ///< the IDAT chunks in order
    std::vector<std::byte> profile;                ///< ICC, inflated; empty for none
    bool isSRGB = false;
    double gamma = 0;  ///< 0 for none
    std::optional<Chromaticities> primaries;

    SourceColors colors() const;
};

/// @return truncated or damaged with the chunk's name and offset; ancillary chunks that make no
///         sense are left out of account instead
result::Expected<PngFile> readPngChunks(std::span<const std::byte> bytes);

}  // namespace TWQuickTime::image
