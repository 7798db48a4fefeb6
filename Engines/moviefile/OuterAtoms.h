// The outermost atoms of a movie file, one header at a time, and the rule which of them is the
// movie.
//
// The rule: **the first whole 'moov' atom is the movie.** Between two steps of an update a file may
// hold two of them; both are complete then, the first is taken, and what follows it is not looked
// at. A 'moov' atom that the end of the file cuts off is no movie. Writers lean on this: see
// MovieAtomUpdate.h.
//
//     Expected<OuterAtom> movie = findMovieAtom(storage);
//     if (!movie) return movie.failure();   // notFound, truncated or damaged
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "Engines/moviefile/Storage.h"

namespace TWQuickTime::moviefile {

/// Where one outermost atom lies.
struct OuterAtom {
    std::uint64_t offset = 0;
    std::uint64_t sizeInBytes = 0;  ///< with the header; ends with the file at the latest
    std::uint32_t type = 0;
    std::uint32_t headerSizeInBytes = 8;  ///< 8, or 16 with a 64-bit size
    bool toEndOfFile = false;             ///< stored with the size 0
    bool whole = true;  ///< false: its stored size reaches past the end of the file

    std::uint64_t end() const { return offset + sizeInBytes; }
    std::uint64_t payloadOffset() const { return offset + headerSizeInBytes; }
};

/// Walks the outermost atoms of a storage. Memory is constant, also on files of countless tiny
/// atoms.
class OuterAtomWalker {
  public:
    /// The storage must outlive the walker and not change under it.
    explicit OuterAtomWalker(const Storage& storage) : storage_(&storage) {}

    /// The next atom, or none where the atoms end: at the end of the file, or where fewer than
    /// eight bytes are left (`offset()` tells where). An impossible size is a `damaged` failure.
    result::Expected<std::optional<OuterAtom>> next();

    /// Where the next atom would begin.
    std::uint64_t offset() const { return offset_; }
    /// Valid after the first call of `next`.
    std::uint64_t storageSizeInBytes() const { return size_; }

  private:
    result::Expected<std::size_t> headerBytes(std::span<std::byte> into);

    const Storage* storage_;
    bool started_ = false;
    std::uint64_t offset_ = 0;
    std::uint64_t size_ = 0;
    std::uint64_t windowOffset_ = 0;
    std::size_t windowSize_ = 0;
    std::array<std::byte, 4096> window_{};
};

/// The atom that is the movie, by the rule above.
/// @return `truncated` where only a cut-off movie atom is there; `damaged` where the walk breaks
///         before it meets one; `notFound` where there is none
result::Expected<OuterAtom> findMovieAtom(const Storage& storage);

}  // namespace TWQuickTime::moviefile
