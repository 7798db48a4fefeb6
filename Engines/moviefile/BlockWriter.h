// Writes a long row of bytes into a storage while the caller prepares those that follow.
//
// There are three blocks: one is filled by the caller while a thread writes the others. Whole
// blocks go past the system's cache of file contents where the file can do that: the row is too
// long for anybody to profit from finding its end there, and filling the cache costs more than the
// disk.
//
//     BlockWriter writer(file, offset);
//     while (…) {
//         std::span<std::byte> room = writer.room();
//         …                                            // fill the first `count` bytes of it
//         if (Status taken = writer.take(count); !taken) return taken;
//     }
//     return writer.flush();
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <span>
#include <thread>

#include "Engines/moviefile/Storage.h"

namespace TWQuickTime::moviefile {

class BlockWriter {
  public:
    static constexpr std::size_t blockSizeInBytes = 1024 * 1024;

    /// The storage must outlive the writer, and nobody else changes it before `flush` or
    /// `giveUp` has returned.
    BlockWriter(Storage& destination, std::uint64_t offset);
    ~BlockWriter();
    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;

    /// Where the next bytes are put by the caller; at least one byte, until `take` or `flush`.
    std::span<std::byte> room();

    /// Counts the first bytes of `room()` to the row. Where a write before has failed, its failure
    /// comes back here or from `flush`, and the writer is of no use any more.
    result::Status take(std::size_t count);

    /// Returns when everything that was taken is in the storage.
    result::Status flush();

    /// Waits for the write that is under way; what has not come to be written is given up, and
    /// nobody writes into the storage any more. So does the destructor.
    void giveUp();

    /// Leaves a range out that is written in another way; everything before must be flushed.
    void skip(std::uint64_t sizeInBytes) { begin(offset_ + sizeInBytes); }

    /// Where the next byte goes in the storage.
    std::uint64_t offset() const { return offset_; }

  private:
    static constexpr std::size_t blockCount = 3;
    struct Release {
        void operator()(std::byte* bytes) const { std::free(bytes); }
    };
    struct Block {
        std::unique_ptr<std::byte[], Release> bytes;
        std::uint64_t start = 0;  ///< where what it holds goes in the storage
        std::size_t size = 0;
    };

    void begin(std::uint64_t offset);
    Block& filled() { return blocks_[handedOn_ % blockCount]; }
    std::span<const std::byte> contents(const Block& block) const;
    result::Status handOn();
    bool startThread();
    void writeBlocks();

    Storage& destination_;
    std::uint64_t offset_ = 0;
    std::array<Block, blockCount> blocks_;  ///< used in turn

    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t handedOn_ = 0;  ///< blocks so far; changed by the caller only
    std::size_t written_ = 0;   ///< of them
    result::Status outcome_;    ///< the first failure
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace TWQuickTime::moviefile
