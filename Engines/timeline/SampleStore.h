// Where the bytes of samples are: the seam between the movie in memory and files, memory blocks
// or anything else that holds media data.
//
// A data reference of a media names a store; a sample is a range of that store. Stores are shared
// by all medias (and movies) that refer to the same place.
//
// A store must: answer `size` and `read` from any thread, never change bytes that were appended
// earlier. It may: refuse `append`. It must not: keep a pointer to the bytes it is given.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "Engines/result/Result.h"

namespace TWQuickTime::timeline {

class SampleStore {
  public:
    virtual ~SampleStore() = default;

    /// Bytes that can be read now.
    virtual std::uint64_t size() const = 0;

    /// Fills the whole of `into` from `offset` on, or fails with `truncated`.
    virtual result::Status read(std::uint64_t offset, std::span<std::byte> into) const = 0;

    /// Adds bytes at the end and returns the offset at which they begin. The default refuses.
    virtual result::Expected<std::uint64_t> append(std::span<const std::byte> bytes);

    /// The absolute path of the file behind it, "" when there is none.
    virtual std::string path() const { return {}; }

    /// The file descriptor to copy ranges from, -1 when there is none. Stays the store's.
    virtual int descriptor() const { return -1; }
};

/// A store that grows in memory.
class MemorySampleStore final : public SampleStore {
  public:
    MemorySampleStore() = default;
    explicit MemorySampleStore(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}

    std::uint64_t size() const override;
    result::Status read(std::uint64_t offset, std::span<std::byte> into) const override;
    result::Expected<std::uint64_t> append(std::span<const std::byte> bytes) override;

  private:
    mutable std::mutex mutex_;
    std::vector<std::byte> bytes_;
};

}  // namespace TWQuickTime::timeline
