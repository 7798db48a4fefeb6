// A picture that is held as pixels, and the collecting of rows into one.
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

/// Keeps all rows that it is given.
class PixelCollector : public RowConsumer {
  public:
    result::Status begin(int width, int height, AlphaKind alpha) override;
    result::Status row(std::uint8_t* pixels) override;

    ConstPixelView pixels() const;
    AlphaKind alpha() const { return alpha_; }

  private:
    int width_ = 0;
    AlphaKind alpha_ = AlphaKind::skipped;
    std::vector<std::uint8_t> pixels_;
};

}  // namespace TWQuickTime::image
