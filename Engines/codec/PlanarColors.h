// Other coefficients and another range for planar pictures of 8 bits, in one pass and without a
// detour through red, green and blue.
#pragma once

#include <optional>

#include "Engines/codec/VideoFrame.h"

namespace TWQuickTime::codec {

struct PlanarColorChange {
    /// Code points of ISO/IEC 23091-2; those without fixed coefficients are not converted here.
    int fromMatrix = 1;
    int toMatrix = 1;
    bool fromFull = false;
    bool toFull = false;
};

/// Whether pictures of that format can be changed so.
bool canChangeColors(PixelFormat format, const PlanarColorChange& change);

/// A new picture of the same size and format. Only what canChangeColors() accepts.
result::Expected<VideoFrame> withChangedColors(const VideoFrame& source,
                                               const PlanarColorChange& change);

}  // namespace TWQuickTime::codec
