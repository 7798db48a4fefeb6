#include "Engines/image/PremultipliedAlpha.h"

#include <algorithm>
#include <cstring>

namespace TWQuickTime::image {
namespace {

bool isOpaque(const std::uint8_t* pixels, int width) {
    std::uint8_t common = 255;
    for (std::ptrdiff_t i = 0; i < std::ptrdiff_t{width} * 4; i += 4)
        common &= pixels[i];
    return common == 255;
}

}  // namespace

void premultiplyRow(std::uint8_t* pixels, int width) {
    for (std::uint8_t* end = pixels + std::ptrdiff_t{width} * 4; pixels != end; pixels += 4) {
        const unsigned alpha = pixels[0];
        if (alpha == 255)
            continue;
        for (int c = 1; c < 4; ++c)
            pixels[c] = multiply255(pixels[c], alpha);
    }
}

void unpremultiplyRow(std::uint8_t* pixels, int width) {
    for (std::uint8_t* end = pixels + std::ptrdiff_t{width} * 4; pixels != end; pixels += 4) {
        const unsigned alpha = pixels[0];
        if (alpha == 255)
            continue;
        for (int c = 1; c < 4; ++c)
            pixels[c] = alpha == 0 ? std::uint8_t{0}
                                   : static_cast<std::uint8_t>(
                                         std::min(255u, (pixels[c] * 255u + alpha / 2) / alpha));
    }
}

void composeRowOver(const std::uint8_t* premultiplied, std::uint8_t* destination, int width,
                    bool destinationHasAlpha) {
    if (destinationHasAlpha && isOpaque(premultiplied, width)) {
        std::memcpy(destination, premultiplied, static_cast<std::size_t>(width) * 4);
        return;
    }
    for (int x = 0; x < width; ++x, premultiplied += 4, destination += 4) {
        const unsigned rest = 255u - premultiplied[0];
        for (int c = destinationHasAlpha ? 0 : 1; c < 4; ++c)
            destination[c] = static_cast<std::uint8_t>(
                std::min(255u, premultiplied[c] + unsigned{multiply255(destination[c], rest)}));
    }
}

}  // namespace TWQuickTime::image
