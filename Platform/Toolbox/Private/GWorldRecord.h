// What stands behind an offscreen world.
#pragma once

#include <cstdint>

#include "Engines/image/PixelView.h"
#include "GWorlds.h"
#include "LiveObjects.h"

namespace TWQuickTime {

struct OpaquePixMap {
    OSType format = k32ARGBPixelFormat;
    Rect bounds;
    std::uint8_t* pixels = nullptr;
    std::int32_t rowBytes = 0;
    LiveObject<OpaquePixMap> live{this};

    int width() const { return bounds.right - bounds.left; }
    int height() const { return bounds.bottom - bounds.top; }
    int bytesPerPixel() const { return format == k24RGBPixelFormat ? 3 : 4; }
    /// Only of 32-bit maps.
    image::PixelView view() const { return {pixels, width(), height(), rowBytes}; }
};

struct OpaqueGrafPtr {
    OpaquePixMap pixMap;
    RGBColor opColor;
    LiveObject<OpaqueGrafPtr> live{this};
};

/// The world itself, or null when it is none.
OpaqueGrafPtr* findGWorld(GWorldPtr world);

}  // namespace TWQuickTime
