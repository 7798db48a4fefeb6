// Puts a picture's rows, scaled, into a rectangle of a pixel buffer.
//
// The picture covers the whole target rectangle; where that reaches beyond the buffer it is cut,
// its scale unchanged. Opaque pictures replace what is there (a skipped first byte is left as it
// is), pictures with alpha are laid over it.
#pragma once

#include <memory>
#include <vector>

#include "Engines/image/PixelView.h"
#include "Engines/image/RowConsumer.h"
#include "Engines/image/RowScaler.h"

namespace TWQuickTime::image {

class RowPlacer : public RowConsumer {
  public:
    /// @param destinationAlpha  `skipped` or `premultiplied`
    RowPlacer(PixelView destination, PixelRect target, AlphaKind destinationAlpha);

    result::Status begin(int width, int height, AlphaKind alpha) override;
    result::Status row(std::uint8_t* pixels) override;

  private:
    void place(int row, const std::uint8_t* pixels);

    PixelView destination_;
    PixelRect target_;
    PixelRect visible_;
    AlphaKind destinationAlpha_;
    AlphaKind sourceAlpha_ = AlphaKind::skipped;
    int width_ = 0;
    int sourceRow_ = 0;
    bool sameSize_ = false;
    std::unique_ptr<RowScaler> scaler_;
};

}  // namespace TWQuickTime::image
