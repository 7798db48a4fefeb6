// Big-endian numbers in spans and vectors of bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace TWQuickTime::codec {

using Bytes = std::span<const std::byte>;

/// The number of `Width` bytes at the offset; 0 when the span ends before it does.
template <int Width>
constexpr std::uint64_t bigEndianAt(Bytes bytes, std::size_t offset) {
    if (offset > bytes.size() || bytes.size() - offset < std::size_t(Width)) {
        return 0;
    }
    std::uint64_t value = 0;
    for (int i = 0; i < Width; ++i) {
        value = (value << 8) | std::to_integer<std::uint64_t>(bytes[offset + std::size_t(i)]);
    }
    return value;
}

inline std::uint16_t u16At(Bytes bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bigEndianAt<2>(bytes, offset));
}
inline std::uint32_t u32At(Bytes bytes, std::size_t offset) {
    return static_cast<std::uint32_t>(bigEndianAt<4>(bytes, offset));
}

/// Appends big-endian numbers and raw bytes; atoms are closed by filling in their size.
class ByteWriter {
  public:
    ByteWriter& u8(std::uint32_t value) { return number(value, 1); }
    ByteWriter& u16(std::uint32_t value) { return number(value, 2); }
    ByteWriter& u24(std::uint32_t value) { return number(value, 3); }
    ByteWriter& u32(std::uint32_t value) { return number(value, 4); }
    ByteWriter& u64(std::uint64_t value) { return number(value, 8); }
    ByteWriter& f64(double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return u64(bits);
    }
    ByteWriter& zeros(std::size_t count) {
        data_.resize(data_.size() + count);
        return *this;
    }
    ByteWriter& raw(Bytes bytes) {
        data_.insert(data_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    std::size_t openAtom(std::uint32_t type) {
        const std::size_t start = data_.size();
        u32(0).u32(type);
        return start;
    }
    ByteWriter& closeAtom(std::size_t start) {
        const auto size = static_cast<std::uint32_t>(data_.size() - start);
        for (int i = 0; i < 4; ++i) {
            data_[start + std::size_t(i)] = static_cast<std::byte>(size >> (24 - 8 * i));
        }
        return *this;
    }
    std::size_t size() const { return data_.size(); }
    const std::vector<std::byte>& data() const { return data_; }
    std::vector<std::byte> take() { return std::move(data_); }

  private:
    ByteWriter& number(std::uint64_t value, int width) {
        for (int i = width - 1; i >= 0; --i) {
            data_.push_back(static_cast<std::byte>(value >> (8 * i)));
        }
        return *this;
    }
    std::vector<std::byte> data_;
};

constexpr std::uint32_t fourCode(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
        code = (code << 8) | static_cast<unsigned char>(text[i]);
    }
    return code;
}

}  // namespace TWQuickTime::codec
