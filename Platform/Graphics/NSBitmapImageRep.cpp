#include "NSBitmapImageRep.h"

#include "Engines/image/RowPlacer.h"
#include "Engines/image/WholeImage.h"
#include "Private/GraphicsRecords.h"

namespace TWQuickTime {
namespace {

/// Moves the first byte of each pixel behind the others, or the last in front.
void moveAlpha(std::uint8_t* pixels, std::size_t count, bool toTheEnd) {
    for (std::uint8_t* end = pixels + count * 4; pixels != end; pixels += 4) {
        if (toTheEnd) {
            const std::uint8_t alpha = pixels[0];
            pixels[0] = pixels[1];
            pixels[1] = pixels[2];
            pixels[2] = pixels[3];
            pixels[3] = alpha;
        } else {
            const std::uint8_t alpha = pixels[3];
            pixels[3] = pixels[2];
            pixels[2] = pixels[1];
            pixels[1] = pixels[0];
            pixels[0] = alpha;
        }
    }
}

}  // namespace

NSBitmapImageRep::NSBitmapImageRep(int width, int height)
    : width_(width),
      height_(height),
      pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4) {}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapImageRepWithSize(int pixelsWide,
                                                                           int pixelsHigh) {
    if (pixelsWide < 1 || pixelsHigh < 1 ||
        std::int64_t{pixelsWide} * pixelsHigh > image::kMaximumWholePixels)
        return nullptr;
    return std::shared_ptr<NSBitmapImageRep>(new NSBitmapImageRep(pixelsWide, pixelsHigh));
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::initWithCGImage(CGImageRef image) {
    if (!image)
        return nullptr;
    const image::SizeInPixels size = image->picture->size();
    auto rep = bitmapImageRepWithSize(size.width, size.height);
    if (!rep)
        return nullptr;
    const image::PixelView view = {rep->bitmapData(), size.width, size.height, rep->bytesPerRow()};
    image::RowPlacer placer(view, {0, 0, size.width, size.height}, image::AlphaKind::premultiplied);
    if (!image->picture->draw(placer, size, {}))
        return nullptr;
    moveAlpha(rep->bitmapData(), rep->pixels_.size() / 4, true);
    return rep;
}

CGImageRef NSBitmapImageRep::createCGImage() const {
    std::vector<std::uint8_t> pixels = pixels_;
    moveAlpha(pixels.data(), pixels.size() / 4, false);
    auto* image = new CGImageRecord;
    image->picture = std::make_unique<image::WholeImage>(
        image::SizeInPixels{width_, height_}, image::AlphaKind::premultiplied, std::move(pixels),
        std::vector<std::byte>());
    return image;
}

}  // namespace TWQuickTime
