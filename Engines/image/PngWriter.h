// Writes PNG files of 8 bits a sample.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "Engines/image/StillImage.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::image {

/// Writes a sibling of the path first and renames it over the path when it is complete, so that a
/// failure leaves what was there.
/// The file has RGB where all pixels are opaque, else RGBA (straight, as the format wants it).
/// @param profile  ICC bytes that colours are converted to and the file carries; empty: sRGB
result::Status writePNG(const StillImage& image, std::span<const std::byte> profile,
                        const std::string& path);

}  // namespace TWQuickTime::image
