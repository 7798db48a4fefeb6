// The top level of a movie file: which atoms lie where. Reading it touches headers only.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Engines/result/Result.h"
#include "Engines/timeline/FourCharCode.h"
#include "Engines/timeline/SampleStore.h"

namespace TWQuickTime::moviefile {

using timeline::FourCharCode;

struct TopLevelAtom {
    FourCharCode type = 0;
    std::uint64_t offset = 0;       ///< of its header, in the file
    std::uint64_t sizeInBytes = 0;  ///< header included; what is there, when the file is cut short
    std::uint32_t headerInBytes = 8;  ///< 8 or 16
    bool toEndOfFile = false;         ///< written with size 0
    bool cutShort = false;            ///< states more bytes than the file has

    std::uint64_t endOffset() const { return offset + sizeInBytes; }
    std::uint64_t payloadOffset() const { return offset + headerInBytes; }
    bool operator==(const TopLevelAtom&) const = default;
};

struct FileLayout {
    std::vector<TopLevelAtom> atoms;  ///< in file order
    std::uint64_t fileSize = 0;
    /// Bytes after the last atom that are no atom (fewer than 8, or no possible header).
    std::uint64_t strayBytesAtEnd = 0;

    const TopLevelAtom* find(FourCharCode type) const;
};

/// Reads the headers of all top-level atoms. Fails with `damaged` when the file does not begin
/// with one, with `limit` past a million of them.
result::Expected<FileLayout> readFileLayout(const timeline::SampleStore& file);

}  // namespace TWQuickTime::moviefile
