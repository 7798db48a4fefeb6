// Which pixels of a canvas a track may draw on, where the movie or the track is clipped.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Engines/codec/VideoFrame.h"
#include "Engines/timeline/Movie.h"
#include "Engines/transcode/Affine.h"

namespace TWQuickTime::transcode {

class ClipMask {
  public:
    /// None where nothing that the track shows is clipped.
    /// @param toCanvas  from the movie's pixels, behind its own matrix, to the canvas's
    static std::optional<ClipMask> make(const timeline::Movie& movie, const timeline::Track& track,
                                        const Affine& toCanvas, int width, int height);
    /// Whether make() would give one, whatever the canvas.
    static bool isNeeded(const timeline::Movie& movie, const timeline::Track& track);

    /// Puts the pixels that may not be drawn on back to what they were.
    /// @param before  the canvas before the track was drawn; of the mask's size, as `canvas` is
    void restore(codec::VideoFrame& canvas, const codec::VideoFrame& before) const;

  private:
    ClipMask(int width, int height)
        : width_(width), drawable_(std::size_t(width) * std::size_t(height)) {}

    int width_;
    std::vector<std::uint8_t> drawable_;  ///< row by row
};

}  // namespace TWQuickTime::transcode
