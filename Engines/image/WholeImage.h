// A picture that is held as pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Engines/image/PixelView.h"
#include "Engines/image/RowConsumer.h"
#include "Engines/image/StillImage.h"

namespace TWQuickTime::image {

class WholeImage : public StillImage {
  public:
    /// @param pixels   A R G B, rows without gaps
    /// @param profile  ICC bytes; empty for sRGB
    WholeImage(SizeInPixels size, AlphaKind alpha, std::vector<std::uint8_t> pixels,
               std::vector<std::byte> profile);
    /// A copy of the view's pixels.
    WholeImage(ConstPixelView pixels, AlphaKind alpha, std::span<const std::byte> profile);

    SizeInPixels size() const override { return size_; }
    result::Status draw(RowConsumer& consumer, SizeInPixels wanted,
                        std::span<const std::byte> destinationProfile) const override;

  private:
    SizeInPixels size_;
    AlphaKind alpha_;
    std::vector<std::uint8_t> pixels_;
    std::vector<std::byte> profile_;
};

}  // namespace TWQuickTime::image
