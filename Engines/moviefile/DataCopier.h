// Copies ranges of sample stores, one behind the other, into a file.
//
// Ranges that follow each other in a store become one copy. Large copies share the source's extents
// where the file system can do that, else they are read into blocks that are written meanwhile;
// small ones are read through windows, so that a million of them cost no million of system calls.
// Memory is bounded by the number of windows.
//
//     DataCopier copier(file, offset);
//     for (…) if (Status added = copier.add(store, from, count); !added) return added;
//     return copier.finish();
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "Engines/moviefile/BlockWriter.h"
#include "Engines/moviefile/Storage.h"
#include "Engines/timeline/SampleStore.h"

namespace TWQuickTime::moviefile {

class DataCopier {
  public:
    /// Called with the bytes copied so far, about every four megabytes; false stops the copy with
    /// `cancelled`.
    using Progress = std::function<bool(std::uint64_t bytesCopied)>;

    DataCopier(Storage& destination, std::uint64_t offset, Progress progress = {});

    /// Appends a range of a store, which must live until `finish`.
    result::Status add(const timeline::SampleStore& store, std::uint64_t offset,
                       std::uint64_t sizeInBytes);

    /// Writes what is still held back.
    result::Status finish();

    /// Where the next byte goes in the destination.
    std::uint64_t offset() const { return writer_.offset() + pending_.sizeInBytes; }

  private:
    struct Range {
        const timeline::SampleStore* store = nullptr;
        std::uint64_t offset = 0;
        std::uint64_t sizeInBytes = 0;
    };
    /// Bytes of a store that were read in one go because small ranges of it were asked for.
    struct Window {
        const timeline::SampleStore* store = nullptr;
        std::uint64_t offset = 0;
        std::vector<std::byte> bytes;
        std::uint64_t lastUse = 0;
    };

    result::Status copyPending();
    result::Status readSmall(const Range& range, std::span<std::byte> into);
    Window* windowFor(const Range& range);
    result::Status shareExtents(Range& range);
    result::Status report();

    Storage& destination_;
    BlockWriter writer_;
    Progress progress_;
    std::uint64_t start_;
    std::uint64_t nextReport_ = 0;
    Range pending_;
    std::vector<Window> windows_;
    std::uint64_t uses_ = 0;
    bool sharing_ = true;  ///< until the file system says no
};

/// Whether the destination can share extents with the source at all; asks by sharing one block,
/// which the caller overwrites or cuts off.
bool canShareExtents(const timeline::SampleStore& source, Storage& destination);

/// Extents are shared in units of this many bytes.
constexpr std::uint64_t sharingUnitInBytes = 4096;

}  // namespace TWQuickTime::moviefile
