// Copies a rectangle of one pixel buffer onto a rectangle of another, scaled to fit.
#pragma once

#include "Engines/image/PixelView.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::image {

/// `to` shows all of `from`. Parts of either that lie outside their buffer are cut without changing
/// the mapping of the rest. All four bytes of a pixel are treated alike, so pixels with alpha must
/// be premultiplied. Source and destination must not overlap.
/// @return badArgument for an empty rectangle
result::Status scalePixels(ConstPixelView source, PixelRect from, PixelView destination,
                           PixelRect to);

}  // namespace TWQuickTime::image
