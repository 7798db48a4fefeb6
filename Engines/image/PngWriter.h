// Writes PNG files of 8 bits a sample.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "Engines/image/PixelView.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::image {

/// Writes a sibling of the path first and renames it over the path when it is complete, so that a
/// failure leaves what was there.
/// @param alpha  `skipped` writes RGB, the others RGBA (straight, as the format wants it)
/// @param profile  ICC bytes to embed; empty marks the file as sRGB
result::Status writePNG(ConstPixelView pixels, AlphaKind alpha, std::span<const std::byte> profile,
                        const std::string& path);

}  // namespace TWQuickTime::image
