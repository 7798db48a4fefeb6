// What a movie's record keeps for drawing.
#pragma once

#include <cstdint>
#include <memory>

#include "Engines/transcode/MovieRenderer.h"
#include "MovieDrawing.h"

namespace TWQuickTime {

struct MovieDrawing {
    CGrafPtr port = nullptr;
    MovieRgnCoverUPP uncoverProc = nullptr;
    MovieRgnCoverUPP coverProc = nullptr;
    RefCon coverRefCon = 0;
    /// Decoders at the last frame; of use only while the movie looks as it did.
    std::unique_ptr<transcode::MovieRenderer> renderer;
    std::uint64_t rendererFingerprint = 0;
};

}  // namespace TWQuickTime
