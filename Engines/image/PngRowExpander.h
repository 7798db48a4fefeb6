// Turns unfiltered PNG samples of any kind into A R G B pixels of 8 bits.
#pragma once

#include <cstdint>

#include "Engines/image/PngChunks.h"

namespace TWQuickTime::image {

class PngRowExpander {
  public:
    /// The file must outlive the object.
    explicit PngRowExpander(const PngFile& file);
    /// @param stride  pixels from one pixel's place to the next (more than 1 for interlaced passes)
    void expand(const std::uint8_t* samples, std::uint8_t* pixels, int width, int stride = 1) const;

  private:
    void expandIndexed(const std::uint8_t* samples, std::uint8_t* pixels, int width,
                       int step) const;
    void expandDeep(const std::uint8_t* samples, std::uint8_t* pixels, int width, int step) const;

    const PngFile& file_;
    /// Palettes, and greys of up to 8 bits: the whole pixel for each sample value.
    std::array<std::uint8_t, 256 * 4> lookup_{};
};

}  // namespace TWQuickTime::image
