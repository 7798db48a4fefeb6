// Numbers as movie files store them: most significant byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace TWQuickTime::moviefile {

inline std::uint32_t loadU32(std::span<const std::byte, 4> bytes) {
    return std::to_integer<std::uint32_t>(bytes[0]) << 24 |
           std::to_integer<std::uint32_t>(bytes[1]) << 16 |
           std::to_integer<std::uint32_t>(bytes[2]) << 8 | std::to_integer<std::uint32_t>(bytes[3]);
}

inline std::uint64_t loadU64(std::span<const std::byte, 8> bytes) {
    return std::uint64_t{loadU32(bytes.first<4>())} << 32 | loadU32(bytes.last<4>());
}

inline void storeU32(std::span<std::byte, 4> bytes, std::uint32_t value) {
    bytes[0] = static_cast<std::byte>(value >> 24);
    bytes[1] = static_cast<std::byte>(value >> 16);
    bytes[2] = static_cast<std::byte>(value >> 8);
    bytes[3] = static_cast<std::byte>(value);
}

inline void storeU64(std::span<std::byte, 8> bytes, std::uint64_t value) {
    storeU32(bytes.first<4>(), static_cast<std::uint32_t>(value >> 32));
    storeU32(bytes.last<4>(), static_cast<std::uint32_t>(value));
}

}  // namespace TWQuickTime::moviefile
