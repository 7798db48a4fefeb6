// The seam between whatever makes rows of a picture and whatever takes them.
//
// Rows come from top to bottom, each once: width pixels of four bytes A, R, G, B. A producer calls
// begin() first and stops at the first failure.
#pragma once

#include <cstdint>

#include "Engines/image/PixelView.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::image {

class RowConsumer {
  public:
    virtual ~RowConsumer() = default;
    /// @param alpha  `skipped` when every pixel of the picture is opaque (the first byte is then
    /// 255)
    virtual result::Status begin(int width, int height, AlphaKind alpha) = 0;
    /// The row may be changed by the consumer; it is valid during the call only.
    virtual result::Status row(std::uint8_t* pixels) = 0;
};

}  // namespace TWQuickTime::image
