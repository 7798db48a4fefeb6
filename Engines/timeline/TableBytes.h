// The rows of one sample table in the form the file has them (big-endian), mapped or in memory.
//
// A table is read where it lies. The first change copies it; from then on rows are appended to the
// copy at amortised constant cost. Copies of a table share its rows until one of them changes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::timeline {

class TableBytes {
  public:
    TableBytes() = default;
    explicit TableBytes(SharedBytes mapped)
        : mapped_(std::move(mapped)), data_(mapped_.data()), size_(mapped_.size()) {}

    std::span<const std::byte> bytes() const { return {data_, size_}; }
    std::size_t size() const { return size_; }

    std::uint32_t u32(std::size_t offset) const {
        const auto* p = reinterpret_cast<const unsigned char*>(data_ + offset);
        return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
               static_cast<std::uint32_t>(p[2]) << 8 | p[3];
    }
    std::uint64_t u64(std::size_t offset) const {
        return static_cast<std::uint64_t>(u32(offset)) << 32 | u32(offset + 4);
    }

    void appendU32(std::uint32_t value);
    void appendU64(std::uint64_t value);
    void appendByte(std::uint8_t value);
    /// Cuts the table to its first bytes.
    void truncate(std::size_t sizeInBytes);
    void setU32(std::size_t offset, std::uint32_t value);
    void setU64(std::size_t offset, std::uint64_t value);

  private:
    /// Makes the rows this table's alone, with so many bytes.
    std::byte* own(std::size_t sizeInBytes);

    SharedBytes mapped_;
    std::shared_ptr<std::vector<std::byte>> own_;
    const std::byte* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace TWQuickTime::timeline
