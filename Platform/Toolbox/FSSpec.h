// The 70-byte file record of the older movie-file calls.
//
// A record names a file by volume, directory and name, and is a plain value: it may be copied,
// compared and kept for as long as the process runs, and it resolves back to the file's path for as
// long as the file is where it was, also when a directory above it was renamed.
#pragma once

#include <cstdint>

#include "ToolboxTypes.h"

namespace TWQuickTime {

#pragma pack(push, 2)
struct FSSpec {
    std::int16_t vRefNum = 0;
    std::int32_t parID = 0;
    /// Pascal string; names of more than 63 bytes are kept in a shortened, still unique form.
    std::uint8_t name[64] = {};
    friend bool operator==(const FSSpec&, const FSSpec&) = default;
};
#pragma pack(pop)
static_assert(sizeof(FSSpec) == 70);

}  // namespace TWQuickTime
