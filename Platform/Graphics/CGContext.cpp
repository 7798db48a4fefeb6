#include "CGContext.h"

#include <algorithm>
#include <cmath>

#include "Engines/image/RowPlacer.h"
#include "Engines/image/WholeImage.h"
#include "Private/GraphicsRecords.h"

namespace TWQuickTime {
namespace {

constexpr std::size_t kMaximumSide = 1 << 24;

/// How much of a pixel a span covers, 0…1.
double coverage(int pixel, double start, double end) {
    return std::clamp(std::min<double>(end, pixel + 1) - std::max<double>(start, pixel), 0.0, 1.0);
}

void blend(std::uint8_t* pixel, const double (&color)[4], double share, image::AlphaKind alpha) {
    const double a = color[3] * share;
    for (int c = 0; c < 3; ++c)
        pixel[1 + c] =
            static_cast<std::uint8_t>(std::lround(255 * color[c] * a + pixel[1 + c] * (1 - a)));
    if (alpha == image::AlphaKind::premultiplied)
        pixel[0] = static_cast<std::uint8_t>(std::lround(255 * a + pixel[0] * (1 - a)));
}

}  // namespace

CGContextRecord::~CGContextRecord() {
    CGColorSpaceRelease(space);
}

CGContextRef CGBitmapContextCreate(void* data, std::size_t width, std::size_t height,
                                   std::size_t bitsPerComponent, std::size_t bytesPerRow,
                                   CGColorSpaceRef space, std::uint32_t bitmapInfo) {
    const bool known =
        bitmapInfo == kCGImageAlphaNoneSkipFirst || bitmapInfo == kCGImageAlphaPremultipliedFirst;
    if (!data || !space || !known || bitsPerComponent != 8 || width < 1 || height < 1 ||
        width > kMaximumSide || height > kMaximumSide || bytesPerRow < width * 4)
        return nullptr;
    auto* context = new CGContextRecord;
    context->pixels = {static_cast<std::uint8_t*>(data), static_cast<int>(width),
                       static_cast<int>(height), static_cast<std::ptrdiff_t>(bytesPerRow)};
    context->alpha = bitmapInfo == kCGImageAlphaNoneSkipFirst ? image::AlphaKind::skipped
                                                              : image::AlphaKind::premultiplied;
    context->space = CGColorSpaceRetain(space);
    return context;
}

CGContextRef CGContextRetain(CGContextRef context) {
    return retainCounted(context);
}

void CGContextRelease(CGContextRef context) {
    releaseCounted(context);
}

CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
    if (!context)
        return nullptr;
    auto* image = new CGImageRecord;
    image->icc = context->space->icc;
    image->picture = std::make_unique<image::WholeImage>(context->pixels, context->alpha,
                                                         context->space->icc.bytes());
    return image;
}

void CGContextSetRGBFillColor(CGContextRef context, double red, double green, double blue,
                              double alpha) {
    if (!context)
        return;
    const double components[4] = {red, green, blue, alpha};
    for (int c = 0; c < 4; ++c)
        context->fill[c] = std::clamp(components[c], 0.0, 1.0);
}

void CGContextFillRect(CGContextRef context, CGRect rect) {
    if (!context || !(rect.size.width > 0) || !(rect.size.height > 0))
        return;
    const image::PixelView& pixels = context->pixels;
    double left = rect.origin.x;
    double right = left + rect.size.width;
    double top = pixels.height - rect.origin.y - rect.size.height;
    double bottom = top + rect.size.height;
    if (!context->shouldAntialias || !context->allowsAntialiasing) {
        left = std::round(left);
        right = std::round(right);
        top = std::round(top);
        bottom = std::round(bottom);
    }
    const auto firstColumn =
        static_cast<int>(std::floor(std::clamp<double>(left, 0, pixels.width)));
    const auto endColumn = static_cast<int>(std::ceil(std::clamp<double>(right, 0, pixels.width)));
    const auto firstRow = static_cast<int>(std::floor(std::clamp<double>(top, 0, pixels.height)));
    const auto endRow = static_cast<int>(std::ceil(std::clamp<double>(bottom, 0, pixels.height)));
    for (int y = firstRow; y < endRow; ++y) {
        const double rowShare = coverage(y, top, bottom);
        for (int x = firstColumn; x < endColumn; ++x)
            blend(pixels.row(y) + std::ptrdiff_t{x} * 4, context->fill,
                  rowShare * coverage(x, left, right), context->alpha);
    }
}

void CGContextSetShouldAntialias(CGContextRef context, bool shouldAntialias) {
    if (context)
        context->shouldAntialias = shouldAntialias;
}

void CGContextSetAllowsAntialiasing(CGContextRef context, bool allowsAntialiasing) {
    if (context)
        context->allowsAntialiasing = allowsAntialiasing;
}

bool CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
    if (!context || !image)
        return false;
    const auto whole = [](double edge) {
        return static_cast<int>(
            std::lround(std::clamp(edge, -double(kMaximumSide), double(kMaximumSide))));
    };
    const double top = context->pixels.height - rect.origin.y - rect.size.height;
    const image::PixelRect target = {whole(rect.origin.x), whole(top),
                                     whole(rect.origin.x + rect.size.width),
                                     whole(top + rect.size.height)};
    if (target.isEmpty())
        return true;
    image::RowPlacer placer(context->pixels, target, context->alpha);
    return image->picture
        ->draw(placer, {target.width(), target.height()}, context->space->icc.bytes())
        .ok();
}

}  // namespace TWQuickTime
