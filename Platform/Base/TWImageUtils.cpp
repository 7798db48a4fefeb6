#include "TWImageUtils.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace TWQuickTime {

std::shared_ptr<NSBitmapImageRep> TWImageUtils::createNSBitmapImageRepForVImageOperationsWithSize(
    NSSize size) {
    if (!(size.width >= 1) || !(size.height >= 1) || size.width > INT32_MAX ||
        size.height > INT32_MAX)
        return nullptr;
    return NSBitmapImageRep::bitmapImageRepWithSize(static_cast<int>(size.width),
                                                    static_cast<int>(size.height));
}

void TWImageUtils::convertNSBitmapImageRep(NSBitmapImageRep& bitmap, bool pixelRGBAtoARGB) {
    std::uint8_t* pixel = bitmap.bitmapData();
    std::uint8_t* end = pixel + std::ptrdiff_t{bitmap.bytesPerRow()} * bitmap.pixelsHigh();
    static_assert(std::endian::native == std::endian::little);
    const int bits = pixelRGBAtoARGB ? 8 : -8;
    for (; pixel != end; pixel += 4) {
        std::uint32_t number;
        std::memcpy(&number, pixel, sizeof number);
        number = std::rotl(number, bits);
        std::memcpy(pixel, &number, sizeof number);
    }
}

Rect TWImageUtils::calcRect(const Rect& rect, const Rect& toFitInRect, bool centered) {
    const int width = rect.right - rect.left;
    const int height = rect.bottom - rect.top;
    const int roomWidth = toFitInRect.right - toFitInRect.left;
    const int roomHeight = toFitInRect.bottom - toFitInRect.top;
    if (width <= 0 || height <= 0 || roomWidth <= 0 || roomHeight <= 0)
        return toFitInRect;
    int fittedWidth = roomWidth;
    int fittedHeight = roomHeight;
    if (std::int64_t{roomWidth} * height <= std::int64_t{roomHeight} * width)
        fittedHeight = static_cast<int>(std::lround(double(roomWidth) * height / width));
    else
        fittedWidth = static_cast<int>(std::lround(double(roomHeight) * width / height));
    const int left = toFitInRect.left + (centered ? (roomWidth - fittedWidth) / 2 : 0);
    const int top = toFitInRect.top + (centered ? (roomHeight - fittedHeight) / 2 : 0);
    const auto edge = [](int value) { return static_cast<std::int16_t>(value); };
    return {edge(top), edge(left), edge(top + fittedHeight), edge(left + fittedWidth)};
}

}  // namespace TWQuickTime
