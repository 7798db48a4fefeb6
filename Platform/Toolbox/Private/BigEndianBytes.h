// Big-endian numbers in byte ranges whose length the caller has checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace TWQuickTime {

inline std::uint16_t readBigEndian16(std::span<const std::byte> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[offset]) << 8 |
                                      std::to_integer<unsigned>(bytes[offset + 1]));
}

inline std::uint32_t readBigEndian32(std::span<const std::byte> bytes, std::size_t offset) {
    return static_cast<std::uint32_t>(readBigEndian16(bytes, offset)) << 16 |
           readBigEndian16(bytes, offset + 2);
}

inline void writeBigEndian16(std::span<std::byte> bytes, std::size_t offset, std::uint16_t value) {
    bytes[offset] = static_cast<std::byte>(value >> 8);
    bytes[offset + 1] = static_cast<std::byte>(value);
}

inline void writeBigEndian32(std::span<std::byte> bytes, std::size_t offset, std::uint32_t value) {
    writeBigEndian16(bytes, offset, static_cast<std::uint16_t>(value >> 16));
    writeBigEndian16(bytes, offset + 2, static_cast<std::uint16_t>(value));
}

inline void appendBigEndian16(std::vector<std::byte>& bytes, std::uint16_t value) {
    bytes.push_back(static_cast<std::byte>(value >> 8));
    bytes.push_back(static_cast<std::byte>(value));
}

inline void appendBigEndian32(std::vector<std::byte>& bytes, std::uint32_t value) {
    appendBigEndian16(bytes, static_cast<std::uint16_t>(value >> 16));
    appendBigEndian16(bytes, static_cast<std::uint16_t>(value));
}

}  // namespace TWQuickTime
