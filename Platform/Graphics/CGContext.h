// Drawing into pixel buffers that the caller owns.
//
// A bitmap context draws on rows of 32-bit pixels: X R G B (alpha info 6, the first byte neither
// read nor written but by fills) or A R G B with premultiplied alpha (2). Contexts are counted
// references; a context is used by one thread at a time. Null is accepted everywhere.
//
//     CGContextRef context = CGBitmapContextCreate(buffer, 1920, 1080, 8, 1920 * 4, space,
//     kCGImageAlphaNoneSkipFirst); CGContextDrawImage(context, CGRectMake(0, 0, 1920, 1080),
//     image); CGContextRelease(context);
#pragma once

#include <cstddef>
#include <cstdint>

#include "CGColorSpace.h"
#include "CGGeometry.h"
#include "CGImage.h"
#include "TWQTExport.h"

namespace TWQuickTime {

using CGContext = struct CGContextRecord;
using CGContextRef = CGContext*;

enum CGImageAlphaInfo : std::uint32_t {
    kCGImageAlphaPremultipliedFirst = 2,
    kCGImageAlphaNoneSkipFirst = 6,
};

/// @param data              the caller's buffer, which must outlive the context
/// @param bitsPerComponent  8
/// @param bytesPerRow       at least 4 × width
/// @param bitmapInfo        a CGImageAlphaInfo
/// @return null for a null buffer or space, sizes below 1, too short rows, and other formats
TWQT_EXPORT CGContextRef CGBitmapContextCreate(void* data, std::size_t width, std::size_t height,
                                               std::size_t bitsPerComponent,
                                               std::size_t bytesPerRow, CGColorSpaceRef space,
                                               std::uint32_t bitmapInfo);
TWQT_EXPORT CGContextRef CGContextRetain(CGContextRef context);
TWQT_EXPORT void CGContextRelease(CGContextRef context);
/// A copy of the context's pixels as they are now; null for a null context.
TWQT_EXPORT CGImageRef CGBitmapContextCreateImage(CGContextRef context);

/// Components 0…1 in the context's own colour space; alpha below 1 blends over what is there.
TWQT_EXPORT void CGContextSetRGBFillColor(CGContextRef context, double red, double green,
                                          double blue, double alpha);
/// Fills with the fill colour; pixels partly inside are covered by their share.
TWQT_EXPORT void CGContextFillRect(CGContextRef context, CGRect rect);
/// Antialiasing concerns the edges of fills; both must be on (as they are at first).
TWQT_EXPORT void CGContextSetShouldAntialias(CGContextRef context, bool shouldAntialias);
TWQT_EXPORT void CGContextSetAllowsAntialiasing(CGContextRef context, bool allowsAntialiasing);
/// Draws the picture over the rectangle (its edges rounded to whole pixels), stretched to fill it,
/// colours converted to the context's space. What lies outside the context is cut.
/// @return false when the picture turned out damaged; what was decoded until then stays
TWQT_EXPORT bool CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);

}  // namespace TWQuickTime
