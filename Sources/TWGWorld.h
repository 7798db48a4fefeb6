// An offscreen graphics world as an object, and scaled copies of any world.
//
//     auto half = TWGWorld::scaleGWorldData(source, {0, 0, 480, 720}, {0, 0, 240, 360});
//     if (half) draw(half->quickTimeGWorld());
#pragma once

#include <memory>

#include "GWorlds.h"
#include "ImageDescription.h"
#include "StGWorld.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT TWGWorld {
  public:
    /// Returned also when no world could be made: see quickTimeGWorld().
    /// (initWithPixelFormat:width:height:)
    static std::shared_ptr<TWGWorld> initWithPixelFormat(OSType pixelFormat, int width, int height);

    /// Null when it could not be made.
    GWorldPtr quickTimeGWorld() const { return _gWorld->GetGWorld(); }
    ImageDescriptionHandle imageDescription() const { return _gWorld->GetImageDescription(); }
    int width() const { return _gWorld->GetWidth(); }
    int height() const { return _gWorld->GetHeight(); }
    int bytesPerRow() const { return _gWorld->GetRowBytes(); }

    /// A new 32-bit world that reaches from the origin to the destination's bottom right corner,
    /// the source rectangle scaled onto the destination.       (scaleGWorldData:fromRect:toRect:)
    /// @return with undefined pixels when the source is no world
    static std::shared_ptr<TWGWorld> scaleGWorldData(GWorldPtr source, Rect fromRect, Rect toRect);
    /// The same from the largest centred part of the source that keeps the picture's proportions
    /// when pixels of the two worlds have different shapes.
    /// (scaleGWorldData:withSourceAspectRatio:toRect:withDestinationAspectRatio:)
    /// @param withSourceAspectRatio, withDestinationAspectRatio  width of a pixel over its height
    /// @return null for no source, a ratio of 0 or an empty destination
    static std::shared_ptr<TWGWorld> scaleGWorldData(GWorldPtr source, double withSourceAspectRatio,
                                                     Rect toRect,
                                                     double withDestinationAspectRatio);

  private:
    TWGWorld() = default;
    std::unique_ptr<StGWorld> _gWorld;
};

}  // namespace TWQuickTime
