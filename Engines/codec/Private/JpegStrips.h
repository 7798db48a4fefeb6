// Pictures as libjpeg takes them: in strips of whole blocks, with the levels of JPEG.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <vector>

#include <jpeglib.h>

#include "Engines/codec/PlanarColors.h"

namespace TWQuickTime::codec {

/// The strips of one picture after the other. Rows that need no change are handed over where they
/// lie; others are changed on the way, a strip at a time, so that no second picture is made.
class JpegStrips {
  public:
    /// Writes all rows of a picture into a compressor that takes raw data. Its errors jump out of
    /// here, so nothing in here needs destruction.
    /// @param matrix  that the picture shall have; 2: its own
    void write(jpeg_compress_struct& info, const VideoFrame& frame, int matrix);

  private:
    struct Plane {
        int width = 0, height = 0;  ///< of the picture
        int paddedWidth = 0;        ///< to whole blocks
        int lines = 0;              ///< of a strip
        /// A strip's rows that are not used where they lie.
        std::vector<std::uint8_t> memory;
        std::array<JSAMPROW, 32> rows{};

        std::uint8_t* line(int i) { return memory.data() + std::ptrdiff_t(i) * paddedWidth; }
    };

    void prepare(const jpeg_compress_struct& info, const VideoFrame& frame);
    void useRows(const VideoFrame& frame, int plane, int strip);
    void changeRows(const VideoFrame& frame, int strip, PlanarColorRows& colors);

    std::array<Plane, 3> planes_;
    /// A member, because jumps leave it alone.
    std::optional<PlanarColorRows> colors_;
    int planeCount_ = 0;
    int shiftX_ = 0, shiftY_ = 0;
};

}  // namespace TWQuickTime::codec
