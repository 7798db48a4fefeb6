#include "NSBitmapImageRep.h"

#include <bit>
#include <cstring>

#include "Engines/image/RowPlacer.h"
#include "Engines/image/WholeImage.h"
#include "Engines/memory/LargePages.h"
#include "Private/GraphicsRecords.h"

namespace TWQuickTime {
namespace {

static_assert(std::endian::native == std::endian::little);

// Of a pixel R G B A as a number.
constexpr std::uint32_t kOpaque = 0xFF000000;

std::uint32_t pixelAt(const std::uint8_t* bytes) {
    std::uint32_t pixel;
    std::memcpy(&pixel, bytes, sizeof pixel);
    return pixel;
}

/// A R G B to R G B A, in place.
void moveAlphaToTheEnd(std::vector<std::uint8_t>& pixels) {
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        const std::uint32_t pixel = std::rotr(pixelAt(&pixels[i]), 8);
        std::memcpy(&pixels[i], &pixel, sizeof pixel);
    }
}

/// R G B A to A R G B.
/// @return whether all pixels are opaque
bool copyWithAlphaInFront(const std::vector<std::uint8_t>& from, std::vector<std::uint8_t>& to) {
    std::uint32_t common = kOpaque;
    for (std::size_t i = 0; i < from.size(); i += 4) {
        const std::uint32_t pixel = pixelAt(&from[i]);
        common &= pixel;
        const std::uint32_t moved = std::rotl(pixel, 8);
        std::memcpy(&to[i], &moved, sizeof moved);
    }
    return common == kOpaque;
}

}  // namespace

NSBitmapImageRep::NSBitmapImageRep(int width, int height)
    : width_(width),
      height_(height),
      pixels_(memory::zerosInLargePages(static_cast<std::size_t>(width) *
                                        static_cast<std::size_t>(height) * 4)) {}

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
    moveAlphaToTheEnd(rep->pixels_);
    return rep;
}

CGImageRef NSBitmapImageRep::createCGImage() const {
    std::vector<std::uint8_t> pixels = memory::zerosInLargePages(pixels_.size());
    const auto alpha = copyWithAlphaInFront(pixels_, pixels) ? image::AlphaKind::skipped
                                                             : image::AlphaKind::premultiplied;
    auto* image = new CGImageRecord;
    image->picture = std::make_unique<image::WholeImage>(
        image::SizeInPixels{width_, height_}, alpha, std::move(pixels), std::vector<std::byte>());
    return image;
}

}  // namespace TWQuickTime
