#include "TWGWorld.h"

#include <algorithm>
#include <cmath>

#include "TWImageUtils.h"

namespace TWQuickTime {

std::shared_ptr<TWGWorld> TWGWorld::initWithPixelFormat(OSType pixelFormat, int width, int height) {
    std::shared_ptr<TWGWorld> world(new TWGWorld);
    world->_gWorld = std::make_unique<StGWorld>(nullptr, width, height, pixelFormat);
    return world;
}

std::shared_ptr<TWGWorld> TWGWorld::scaleGWorldData(GWorldPtr source, Rect fromRect, Rect toRect) {
    std::shared_ptr<TWGWorld> scaled =
        initWithPixelFormat(k32ARGBPixelFormat, toRect.right, toRect.bottom);
    PixMapHandle newPixels = GetGWorldPixMap(scaled->quickTimeGWorld());
    PixMapHandle sourcePixels = GetGWorldPixMap(source);
    const RGBColor black;
    SetPortOpColor(scaled->quickTimeGWorld(), &black);
    if (newPixels && sourcePixels) {
        LockPixels(newPixels);
        LockPixels(sourcePixels);
        CopyBits(sourcePixels, newPixels, &fromRect, &toRect, srcCopy, nullptr);
        UnlockPixels(sourcePixels);
        UnlockPixels(newPixels);
    }
    return scaled;
}

std::shared_ptr<TWGWorld> TWGWorld::scaleGWorldData(GWorldPtr source, double withSourceAspectRatio,
                                                    Rect toRect,
                                                    double withDestinationAspectRatio) {
    if (!source || withSourceAspectRatio == 0.0 || withDestinationAspectRatio == 0.0 ||
        toRect.right == toRect.left || toRect.bottom == toRect.top)
        return nullptr;
    double ratio = withSourceAspectRatio / withDestinationAspectRatio;
    if (std::abs(withSourceAspectRatio - withDestinationAspectRatio) <= 0.001)
        ratio = 1.0;
    PixMapHandle pixels = GetGWorldPixMap(source);
    if (!pixels || !std::isfinite(ratio) || ratio == 0.0)
        return nullptr;
    const Rect bounds = GetPixBounds(pixels);
    if (bounds.right == bounds.left || bounds.bottom == bounds.top)
        return nullptr;
    // The right edge is divided, not the width: on purpose, also where left is not 0.
    Rect shape = toRect;
    shape.right =
        static_cast<std::int16_t>(std::clamp(std::trunc(toRect.right / ratio), -32768.0, 32767.0));
    return scaleGWorldData(source, TWImageUtils::calcRect(shape, bounds, true), toRect);
}

}  // namespace TWQuickTime
