// Room for a new atom inside the free atoms of a file.
//
// Free space is divided anew without a moment at which the file could not be walked: the new
// headers are laid into the payload of free atoms, where nobody sees them, and then the size of one
// free atom is switched so that it ends at the first of them. The old and the new size differ in
// one byte only, so that even a disk that stops within the four bytes leaves either the old or the
// new division.
//
//     before   [free 1200                                        ]
//     laid     [free 1200    {free 600}             {free 88}    ]
//     after    [free  512 ]  [free 600           ]  [free 88     ]
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "Engines/moviefile/FileSurvey.h"

namespace TWQuickTime::moviefile {

/// A range of a file.
struct ByteRange {
    std::uint64_t offset = 0;
    std::uint64_t sizeInBytes = 0;

    std::uint64_t end() const { return offset + sizeInBytes; }
};

/// A free atom of exactly the wanted size, or how to make one.
struct FreePlace {
    std::uint64_t offset = 0;       ///< of the place
    std::uint64_t sizeInBytes = 0;  ///< of the place
    struct Division {
        std::uint64_t firstOffset = 0;  ///< of the free atom that is made to end at the place
        std::uint64_t firstSizeInBytes = 0;
        std::uint64_t restSizeInBytes = 0;  ///< of the free atom behind the place; 0: none
    };
    std::optional<Division> division;  ///< none: the atom is there already
};

/// Looks for room for an atom of `sizeInBytes` (header included, at least 8).
/// @param untouchable  ranges in which nothing may be written
std::optional<FreePlace> findFreePlace(const FileSurvey& survey, std::uint64_t sizeInBytes,
                                       std::span<const ByteRange> untouchable);

/// Divides the free space as planned; after it there is a free atom of just that size. Syncs.
result::Status makeFreePlace(Storage& storage, const FreePlace& place);

}  // namespace TWQuickTime::moviefile
