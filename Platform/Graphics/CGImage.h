// Pictures: encoded ones as they come from a file, and copies of pixel buffers.
//
// An encoded picture is decoded when it is drawn, straight to the size it is drawn at; its file is
// checked when it is made. Images and providers are counted references: one Release for every
// Create. Null is accepted everywhere. An image may be drawn on several threads at once.
//
//     CGDataProviderRef file = CGDataProviderCreateWithURL(NSURL::fileURLWithPath(path));
//     CGImageRef image = CGImageCreateWithPNGDataProvider(file, nullptr, true,
//     kCGRenderingIntentPerceptual); CGDataProviderRelease(file); … CGImageRelease(image);
#pragma once

#include <cstddef>

#include "CGColorSpace.h"
#include "NSData.h"
#include "NSURL.h"
#include "TWQTExport.h"

namespace TWQuickTime {

using CGDataProvider = struct CGDataProviderRecord;
using CGDataProviderRef = CGDataProvider*;
using CGImage = struct CGImageRecord;
using CGImageRef = CGImage*;

enum CGColorRenderingIntent {
    kCGRenderingIntentDefault = 0,
    kCGRenderingIntentAbsoluteColorimetric = 1,
    kCGRenderingIntentRelativeColorimetric = 2,
    kCGRenderingIntentPerceptual = 3,
    kCGRenderingIntentSaturation = 4,
};

/// The bytes of a file; null when the URL is no file URL or the file cannot be read.
TWQT_EXPORT CGDataProviderRef CGDataProviderCreateWithURL(const NSURL& url);
TWQT_EXPORT CGDataProviderRef CGDataProviderCreateWithData(const NSData& data);
TWQT_EXPORT void CGDataProviderRelease(CGDataProviderRef provider);

/// Null when the bytes are no PNG file or one that is cut or damaged.
/// @param decode             null; other mappings of sample values are not offered
/// @param shouldInterpolate  scaled drawing is always filtered
/// @param intent             colours are converted perceptually
TWQT_EXPORT CGImageRef CGImageCreateWithPNGDataProvider(CGDataProviderRef source,
                                                        const double* decode,
                                                        bool shouldInterpolate,
                                                        CGColorRenderingIntent intent);
/// The same for JPEG.
TWQT_EXPORT CGImageRef CGImageCreateWithJPEGDataProvider(CGDataProviderRef source,
                                                         const double* decode,
                                                         bool shouldInterpolate,
                                                         CGColorRenderingIntent intent);
TWQT_EXPORT CGImageRef CGImageRetain(CGImageRef image);
TWQT_EXPORT void CGImageRelease(CGImageRef image);
/// Pixels; 0 for null.
TWQT_EXPORT std::size_t CGImageGetWidth(CGImageRef image);
TWQT_EXPORT std::size_t CGImageGetHeight(CGImageRef image);

}  // namespace TWQuickTime
