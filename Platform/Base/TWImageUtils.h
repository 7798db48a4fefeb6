// Rectangles and bitmaps for drawing frames and scaled pictures.
#pragma once

#include <memory>

#include "CGGeometry.h"
#include "NSBitmapImageRep.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT TWImageUtils {
  public:
    /// A bitmap of 32-bit pixels, all zero; null for sizes below one pixel and sizes that are too
    /// large.       (createNSBitmapImageRepForVImageOperationsWithSize:)
    static std::shared_ptr<NSBitmapImageRep> createNSBitmapImageRepForVImageOperationsWithSize(
        NSSize size);
    /// Reorders the bytes of every pixel in place.       (convertNSBitmapImageRep:pixelRGBAtoARGB:)
    /// @param pixelRGBAtoARGB  false for the way back
    static void convertNSBitmapImageRep(NSBitmapImageRep& bitmap, bool pixelRGBAtoARGB);
    /// The largest rectangle of the first one's proportions that fits into the container; sides are
    /// rounded to whole pixels.       (calcRect:toFitInRect:centered:)
    /// @param centered  in the container's middle, else at its top left
    /// @return the container itself for a rectangle without area
    static Rect calcRect(const Rect& rect, const Rect& toFitInRect, bool centered);
};

}  // namespace TWQuickTime
