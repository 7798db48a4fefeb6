// Pixels in memory as a representation of an image: four bytes a pixel, R G B A, premultiplied.
//
// A representation owns its pixels and may be written to until it is given to others.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "CGGeometry.h"
#include "CGImage.h"
#include "NSData.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSBitmapImageRep {
  public:
    /// All pixels zero. Null for sizes below 1 or beyond what memory holds.
    static std::shared_ptr<NSBitmapImageRep> bitmapImageRepWithSize(int pixelsWide, int pixelsHigh);
    /// The picture's pixels in device RGB; null when it cannot be decoded.       (initWithCGImage:)
    static std::shared_ptr<NSBitmapImageRep> initWithCGImage(CGImageRef image);

    int pixelsWide() const { return width_; }
    int pixelsHigh() const { return height_; }
    /// Bytes from one row to the next.
    int bytesPerRow() const { return width_ * 4; }
    int bitsPerPixel() const { return 32; }
    std::uint8_t* bitmapData() { return pixels_.data(); }
    const std::uint8_t* bitmapData() const { return pixels_.data(); }
    /// The pixels as an image; the caller releases it.       (CGImage)
    CGImageRef createCGImage() const;

  private:
    NSBitmapImageRep(int width, int height);
    int width_;
    int height_;
    std::vector<std::uint8_t> pixels_;
};

}  // namespace TWQuickTime
