// Atoms for tests: small files put together from readable pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Engines/moviefile/BigEndian.h"

namespace TWQuickTime::moviefile::test {

using Bytes = std::vector<std::byte>;

inline Bytes bytesOf(std::string_view text) {
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

inline Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline Bytes u32(std::uint32_t value) {
    Bytes bytes(4);
    storeU32(std::span(bytes).first<4>(), value);
    return bytes;
}

inline Bytes u64(std::uint64_t value) {
    Bytes bytes(8);
    storeU64(std::span(bytes).first<8>(), value);
    return bytes;
}

/// {size, type, payload}
inline Bytes atom(std::string_view type, const Bytes& payload = {}) {
    return joined({u32(static_cast<std::uint32_t>(payload.size() + 8)), bytesOf(type), payload});
}

/// {1, type, 64-bit size, payload}
inline Bytes largeAtom(std::string_view type, const Bytes& payload = {}) {
    return joined({u32(1), bytesOf(type), u64(payload.size() + 16), payload});
}

/// {0, type, payload}: runs to the end of the file.
inline Bytes endlessAtom(std::string_view type, const Bytes& payload = {}) {
    return joined({u32(0), bytesOf(type), payload});
}

/// A movie atom that is told from others by its text, of `sizeInBytes` in all.
inline Bytes movieAtom(std::string_view text, std::size_t sizeInBytes = 64) {
    Bytes payload = bytesOf(text);
    payload.resize(sizeInBytes - 16, std::byte{'.'});
    return atom("moov", atom("udta", payload));
}

inline Bytes fileType() {
    return atom("ftyp", joined({bytesOf("qt  "), u32(0x200), bytesOf("qt  ")}));
}

}  // namespace TWQuickTime::moviefile::test
