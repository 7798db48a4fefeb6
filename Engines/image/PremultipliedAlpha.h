// Arithmetic of 8-bit colours and alpha, rounded to nearest.
#pragma once

#include <cstddef>
#include <cstdint>

namespace TWQuickTime::image {

/// round(a × b / 255) for 0…255 each.
constexpr std::uint8_t multiply255(unsigned a, unsigned b) {
    const unsigned product = a * b + 128;
    return static_cast<std::uint8_t>((product + (product >> 8)) >> 8);
}

/// Multiplies the colours of a row of A R G B pixels by their alpha, in place.
void premultiplyRow(std::uint8_t* pixels, int width);
/// Divides them again; colours of fully transparent pixels become 0.
void unpremultiplyRow(std::uint8_t* pixels, int width);
/// Lays a premultiplied row over the destination.
/// @param destinationHasAlpha  false leaves the destination's first bytes alone and takes it as
///        opaque; true composes premultiplied alpha too
void composeRowOver(const std::uint8_t* premultiplied, std::uint8_t* destination, int width,
                    bool destinationHasAlpha);

}  // namespace TWQuickTime::image
