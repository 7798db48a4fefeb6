// A storage in memory that keeps a record of what was done to it and misbehaves on request: it
// stops in the middle of a write, reports a full disk, or shows what a power failure would have
// left.
//
//     MemoryStorage storage(bytesOfAMovie);
//     storage.startRecording();
//     storage.failOperation(2, ENOSPC, 100);       // the third operation writes 100 bytes and
//     fails EXPECT_FALSE(replaceMovieAtom(storage, update));
#pragma once

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "Engines/moviefile/Storage.h"

namespace TWQuickTime::moviefile {

/// One change of a storage, or the sync that makes the changes before it last.
struct StorageOperation {
    enum class Kind { write, truncate, sync };
    Kind kind = Kind::write;
    std::uint64_t offset = 0;      ///< of a write; the new size of a truncation
    std::vector<std::byte> bytes;  ///< of a write

    /// Does to `image` what the first `byteCount` bytes of a write do; other kinds are done whole.
    void applyTo(std::vector<std::byte>& image,
                 std::size_t byteCount = std::numeric_limits<std::size_t>::max()) const;
};

class MemoryStorage final : public Storage {
  public:
    explicit MemoryStorage(std::vector<std::byte> bytes = {}, std::string name = "memory");

    /// What a read would see.
    const std::vector<std::byte>& contents() const { return bytes_; }

    /// Keeps a copy of every operation from now on, counting from 0.
    void startRecording();
    const std::vector<StorageOperation>& operations() const { return operations_; }

    /// After so many further operations, and so many bytes of the next one, everything has no
    /// effect any more and fails: the program was killed.
    void stopAfter(std::size_t operationCount, std::size_t bytesOfNextWrite = 0);

    /// The operation of that number from now (0: the next) fails with the system's error number
    /// after so many bytes; the ones after it work again.
    void failOperation(std::size_t index, int systemError, std::size_t bytesOfTheWrite = 0);

    /// Writes past that size fail with ENOSPC after filling what is left.
    void limitSizeInBytes(std::uint64_t sizeInBytes) { sizeLimit_ = sizeInBytes; }

    /// Operations so far, failed ones included.
    std::size_t operationCount() const { return operationCount_; }

    const std::string& name() const override { return name_; }
    result::Expected<std::uint64_t> sizeInBytes() const override;
    result::Expected<std::size_t> read(std::uint64_t offset,
                                       std::span<std::byte> into) const override;
    result::Status write(std::uint64_t offset, std::span<const std::byte> bytes) override;
    result::Status sync() override;
    result::Status truncate(std::uint64_t sizeInBytes) override;

  private:
    struct Fault {
        std::size_t operation = 0;
        std::size_t bytes = 0;
        int systemError = 0;
        bool forGood = false;
    };
    struct Outcome {
        std::size_t bytes = 0;
        int systemError = 0;
    };
    Outcome outcomeOfNext(std::size_t byteCount);
    result::Status apply(StorageOperation operation);

    std::vector<std::byte> bytes_;
    std::string name_;
    std::vector<StorageOperation> operations_;
    bool recording_ = false;
    std::size_t operationCount_ = 0;
    std::optional<Fault> fault_;
    std::uint64_t sizeLimit_ = std::numeric_limits<std::uint64_t>::max();
};

}  // namespace TWQuickTime::moviefile
