#include "Engines/timeline/ApertureMode.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TWQuickTime::timeline {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t kWidthOffset = 32;
constexpr std::size_t kExtensionsOffset = 86;
constexpr std::size_t kAtomHeader = 8;

std::uint32_t u32(Bytes bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[offset + i]);
    return value;
}

/// The payload of an extension; empty when it is not there.
Bytes extension(Bytes description, FourCharCode type) {
    std::size_t offset = kExtensionsOffset;
    while (offset + kAtomHeader <= description.size()) {
        const std::size_t size = u32(description, offset);
        if (size < kAtomHeader || size > description.size() - offset)
            return {};
        if (u32(description, offset + 4) == type)
            return description.subspan(offset + kAtomHeader, size - kAtomHeader);
        offset += size;
    }
    return {};
}

/// Numerator and denominator that follow each other; the default for an impossible one.
double ratioAt(Bytes bytes, std::size_t offset, double otherwise) {
    const double numerator = u32(bytes, offset), denominator = u32(bytes, offset + 4);
    return numerator > 0 && denominator > 0 ? numerator / denominator : otherwise;
}

Fixed fixedOf(double pixels) {
    return static_cast<Fixed>(
        std::clamp(std::round(pixels * kFixedOne), 0.0, double{std::numeric_limits<Fixed>::max()}));
}

}  // namespace

Dimensions dimensionsInMode(const Track& track, ApertureMode mode) {
    switch (mode) {
        case ApertureMode::clean:
            return track.aperture.cleanAperture.value_or(track.dimensions);
        case ApertureMode::production:
            return track.aperture.production.value_or(track.dimensions);
        case ApertureMode::encoded:
            return track.aperture.encodedPixels.value_or(track.dimensions);
        case ApertureMode::classic:
            break;
    }
    return track.dimensions;
}

std::optional<ApertureDimensions> apertureDimensionsOf(Bytes description) {
    if (description.size() < kExtensionsOffset)
        return std::nullopt;
    const double width = u32(description, kWidthOffset) >> 16;
    const double height = u32(description, kWidthOffset) & 0xFFFF;
    if (width == 0 || height == 0)
        return std::nullopt;
    const Bytes pixelAspect = extension(description, fourCharCode("pasp"));
    const double aspect = pixelAspect.size() >= 8 ? ratioAt(pixelAspect, 0, 1) : 1;
    const Bytes clean = extension(description, fourCharCode("clap"));
    const double cleanWidth = clean.size() >= 16 ? ratioAt(clean, 0, width) : width;
    const double cleanHeight = clean.size() >= 16 ? ratioAt(clean, 8, height) : height;
    return ApertureDimensions{
        .cleanAperture = Dimensions{fixedOf(cleanWidth * aspect), fixedOf(cleanHeight)},
        .production = Dimensions{fixedOf(width * aspect), fixedOf(height)},
        .encodedPixels = Dimensions{fixedOf(width), fixedOf(height)}};
}

}  // namespace TWQuickTime::timeline
