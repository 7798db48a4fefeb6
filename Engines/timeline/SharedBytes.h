// Bytes that somebody keeps alive: a part of a mapped file or a block in memory, cheap to copy.
//
//     SharedBytes all = SharedBytes::copyOf(bytes);
//     SharedBytes tail = all.part(16);   // shares the block, copies nothing
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace TWQuickTime::timeline {

/// An immutable view together with shared ownership of what it views. Default: no bytes.
class SharedBytes {
  public:
    SharedBytes() = default;
    /// @param owner  keeps `bytes` alive and unchanged; null for bytes that live for ever
    SharedBytes(std::span<const std::byte> bytes, std::shared_ptr<const void> owner)
        : bytes_(bytes), owner_(std::move(owner)) {}

    static SharedBytes copyOf(std::span<const std::byte> bytes);
    static SharedBytes adopt(std::vector<std::byte> bytes);

    const std::byte* data() const { return bytes_.data(); }
    std::size_t size() const { return bytes_.size(); }
    bool empty() const { return bytes_.empty(); }
    std::span<const std::byte> span() const { return bytes_; }
    operator std::span<const std::byte>() const { return bytes_; }

    /// The bytes from `offset` on, at most `size` of them; both are cut to what is there.
    SharedBytes part(std::size_t offset, std::size_t size = SIZE_MAX) const;
    const std::shared_ptr<const void>& owner() const { return owner_; }

    /// Equal when the bytes are, wherever they lie.
    friend bool operator==(const SharedBytes& a, const SharedBytes& b) {
        return sameBytes(a.bytes_, b.bytes_);
    }

  private:
    static bool sameBytes(std::span<const std::byte> a, std::span<const std::byte> b);

    std::span<const std::byte> bytes_;
    std::shared_ptr<const void> owner_;
};

}  // namespace TWQuickTime::timeline
