// Where a media's samples come from: the file the movie is in, another file, memory.
#pragma once

#include <cstdint>
#include <memory>

#include "Engines/timeline/FourCharCode.h"
#include "Engines/timeline/SampleStore.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::timeline {

/// The data are in the same file as the movie.
constexpr std::uint32_t kDataReferenceIsSelf = 1;

struct DataReference {
    FourCharCode type = fourCharCode("url ");  ///< 'url ', 'alis', 'rsrc'; 'hndl' for memory
    std::uint32_t flags = 0;                   ///< 24 bits; 1: self
    SharedBytes data = {};                     ///< depends on the type; none for self
    /// The open store; null while the reference is not resolved (yet, or because it cannot be).
    std::shared_ptr<SampleStore> store = nullptr;

    bool isSelf() const { return (flags & kDataReferenceIsSelf) != 0; }
};

}  // namespace TWQuickTime::timeline
