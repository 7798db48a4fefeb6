// Writes pictures to files.
#pragma once

#include <cstddef>

#include "CGImage.h"
#include "NSString.h"
#include "NSURL.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Type of PNG files.
inline constexpr const char* kUTTypePNG = "public.png";

using CGImageDestination = struct CGImageDestinationRecord;
using CGImageDestinationRef = CGImageDestination*;

/// @param type   kUTTypePNG
/// @param count  1
/// @return null for other types and counts and for what is no file URL; nothing is written yet
TWQT_EXPORT CGImageDestinationRef CGImageDestinationCreateWithURL(const NSURL& url,
                                                                  const NSString& type,
                                                                  std::size_t count);
/// Keeps the image; a second one is left out.
TWQT_EXPORT void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image);
/// Writes the file, the image's profile in it, replacing an older file only when all is written.
/// @return false when there is no image or the file cannot be written
TWQT_EXPORT bool CGImageDestinationFinalize(CGImageDestinationRef destination);
TWQT_EXPORT void CGImageDestinationRelease(CGImageDestinationRef destination);

}  // namespace TWQuickTime
