// Other coefficients and another range for planar pictures of 8 bits, in one pass and without a
// detour through red, green and blue.
#pragma once

#include <cstdint>
#include <vector>

#include "Engines/codec/VideoFrame.h"

namespace TWQuickTime::codec {

struct PlanarColorChange {
    /// Code points of ISO/IEC 23091-2; those without fixed coefficients are not converted here.
    int fromMatrix = 1;
    int toMatrix = 1;
    bool fromFull = false;
    bool toFull = false;
};

/// Changes a picture row by row, for those who need its rows one after the other anyway: what they
/// get has not left the processor's caches. Matrices without fixed coefficients count as BT.601.
class PlanarColorRows {
  public:
    explicit PlanarColorRows(const PlanarColorChange& change);

    /// Whether every sample stays as it is.
    bool keepsAll() const { return keepsAll_; }
    void changeChroma(const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* toU,
                      std::uint8_t* toV, int width) const;
    /// Tells the chroma, as it was, of the rows of luma that follow.
    /// @param shiftX  log2 of how many columns share a sample of chroma: 0 or 1
    void beginLuma(const std::uint8_t* u, const std::uint8_t* v, int chromaWidth, int shiftX);
    void changeLuma(const std::uint8_t* from, std::uint8_t* to, int width) const;

  private:
    // Fixed-point factors; greys stay grey, so chroma never depends on luma.
    std::int16_t lumaScale_, lumaFromU_, lumaFromV_;
    std::int16_t uFromU_, uFromV_, vFromU_, vFromV_;
    int lumaOffset_;
    bool mixes_;  ///< luma depends on chroma, or one chroma sample on the other
    bool keepsAll_;
    /// What chroma adds to each luma sample of a row.
    std::vector<int> chromaShare_;
};

/// Whether pictures of that format can be changed so.
bool canChangeColors(PixelFormat format, const PlanarColorChange& change);

/// A new picture of the same size and format. Only what canChangeColors() accepts.
result::Expected<VideoFrame> withChangedColors(const VideoFrame& source,
                                               const PlanarColorChange& change);

}  // namespace TWQuickTime::codec
