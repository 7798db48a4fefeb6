// What a movie's record keeps for drawing.
#pragma once

#include <cstdint>
#include <memory>

#include "MovieDrawing.h"
#include "Private/CloneDecoders.h"

namespace TWQuickTime {

struct MovieRecord;

struct MovieDrawing {
    CGrafPtr port = nullptr;
    MovieRgnCoverUPP uncoverProc = nullptr;
    MovieRgnCoverUPP coverProc = nullptr;
    RefCon coverRefCon = 0;
    /// Decoders at the last frame; of use only while the movie looks as it did.
    DrawnMovie drawn;
    /// Hashes over what decides what the movie shows: of values alone, and with the identity of its
    /// parts.
    std::uint64_t looks = 0;
    std::uint64_t identity = 0;
    /// Of a movie from a handle: the bytes, and who keeps decoders for the clones of its original.
    timeline::SharedBytes atom;
    std::weak_ptr<CloneDecoders> cloneDecoders;
};

/// Hands the decoders of a clone that is about to go to its original.
void keepDecodersForNextClone(MovieRecord& record);

}  // namespace TWQuickTime
