// Where the bytes of a movie live: a file, or memory that misbehaves on request.
//
// Everything that reads or changes movie files goes through this seam, so that a test can cut the
// power after any write and look at what is left. Offsets count bytes from the start. Writes are
// visible to reads at once but survive a power failure only after `sync`; until then they may reach
// the disk in any order, or not at all.
//
//     Expected<std::unique_ptr<FileStorage>> file = FileStorage::open(path, Access::readWrite);
//     if (!file) return file.failure();
//     Status written = (*file)->write(4, bytes);
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "Engines/result/Result.h"

namespace TWQuickTime::moviefile {

/// Both in memory and in a file, the granularity of what can be written past the system's cache.
constexpr std::size_t uncachedUnitInBytes = 4096;

/// The contract of a storage. Changes belong to one thread at a time; reads and questions may come
/// from any thread meanwhile.
class Storage {
  public:
    virtual ~Storage() = default;
    Storage(const Storage&) = delete;
    Storage& operator=(const Storage&) = delete;

    /// What messages call it: a path, or a word for memory.
    virtual const std::string& name() const = 0;

    virtual result::Expected<std::uint64_t> sizeInBytes() const = 0;

    /// Reads up to `into.size()` bytes.
    /// @return how many were read; fewer than asked only where the storage ends
    virtual result::Expected<std::size_t> read(std::uint64_t offset,
                                               std::span<std::byte> into) const = 0;

    /// Writes all the bytes, growing the storage where they reach past its end (a gap reads as
    /// zeros). On failure any part of them may have been written.
    virtual result::Status write(std::uint64_t offset, std::span<const std::byte> bytes) = 0;

    /// `write`, for bytes that nobody is going to read soon: a file's go past the system's cache of
    /// file contents where it can do that. For that, `bytes` must lie as far behind a multiple of
    /// `uncachedUnitInBytes` in memory as they will in the storage, and be many.
    virtual result::Status writeUncached(std::uint64_t offset, std::span<const std::byte> bytes);

    /// Returns when everything written so far would survive a power failure.
    virtual result::Status sync() = 0;

    /// Tells that a written range is complete, so that bringing it to the disk may begin while
    /// other things are done, and the sync at the end has little left to do.
    virtual void beginWriteBack(std::uint64_t offset, std::uint64_t sizeInBytes);

    /// Makes the storage exactly that long; what is added reads as zeros.
    virtual result::Status truncate(std::uint64_t sizeInBytes) = 0;

    /// The file descriptor behind it, for mappings and copies inside the system; -1: none.
    virtual int fileDescriptor() const { return -1; }

    /// `read` of exactly so many bytes: an earlier end is a `truncated` failure.
    result::Status readExactly(std::uint64_t offset, std::span<std::byte> into) const;

  protected:
    Storage() = default;
};

}  // namespace TWQuickTime::moviefile
