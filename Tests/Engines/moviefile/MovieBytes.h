// Movie atoms for tests, put together byte by byte: readable, and small enough to damage anywhere.
#pragma once

#include <string_view>

#include "AtomBytes.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::moviefile::test {

inline Bytes zeros(std::size_t count) {
    return Bytes(count);
}

inline Bytes u16(std::uint16_t value) {
    return {static_cast<std::byte>(value >> 8), static_cast<std::byte>(value)};
}

inline Bytes identityMatrix() {
    return joined({u32(0x10000), zeros(12), u32(0x10000), zeros(12), u32(0x40000000)});
}

/// 'mvhd' of version 0.
inline Bytes movieHeader(std::uint32_t timeScale = 600, std::uint32_t duration = 600) {
    return atom("mvhd", joined({u32(0), zeros(8), u32(timeScale), u32(duration), u32(0x10000),
                                u16(0x100), zeros(10), identityMatrix(), zeros(24), u32(2)}));
}

/// 'tkhd' of version 0, enabled.
inline Bytes trackHeader(std::uint32_t id = 1, std::uint32_t duration = 600) {
    return atom("tkhd", joined({u32(15), zeros(8), u32(id), zeros(4), u32(duration), zeros(8),
                                zeros(8), identityMatrix(), u32(64 << 16), u32(48 << 16)}));
}

inline Bytes mediaHeader(std::uint32_t timeScale = 600, std::uint32_t duration = 600) {
    return atom("mdhd", joined({u32(0), zeros(8), u32(timeScale), u32(duration), u32(0)}));
}

inline Bytes handler(std::string_view subtype, std::string_view kind = "mhlr") {
    return atom("hdlr", joined({u32(0), bytesOf(kind), bytesOf(subtype), zeros(12), Bytes(1)}));
}

/// 'dref' with the one entry "in this file".
inline Bytes dataInformation() {
    return atom("dinf", atom("dref", joined({u32(0), u32(1), atom("alis", u32(1))})));
}

/// A description of 16 bytes.
inline Bytes bareDescription(std::string_view format) {
    return joined({u32(16), bytesOf(format), zeros(6), u16(1)});
}

/// Tables of three samples of 200 units: 10, 20 and 30 bytes from offset 1000 in one chunk.
inline Bytes sampleTable(const Bytes& more = {}) {
    return atom("stbl",
                joined({atom("stsd", joined({u32(0), u32(1), bareDescription("jpeg")})),
                        atom("stts", joined({u32(0), u32(1), u32(3), u32(200)})),
                        atom("stsc", joined({u32(0), u32(1), u32(1), u32(3), u32(1)})),
                        atom("stsz", joined({u32(0), u32(0), u32(3), u32(10), u32(20), u32(30)})),
                        atom("stco", joined({u32(0), u32(1), u32(1000)})), more}));
}

inline Bytes mediaInformation(const Bytes& table) {
    return atom("minf", joined({atom("vmhd", joined({u32(1), zeros(8)})), handler("alis", "dhlr"),
                                dataInformation(), table}));
}

inline Bytes media(const Bytes& table = sampleTable(), const Bytes& more = {}) {
    return atom("mdia", joined({mediaHeader(), handler("vide"), mediaInformation(table), more}));
}

/// @param before  children of 'trak' in front of the media, @param after  behind it
inline Bytes track(const Bytes& before = {}, const Bytes& after = {},
                   const Bytes& mediaAtom = media()) {
    return atom("trak", joined({trackHeader(), before, mediaAtom, after}));
}

inline Bytes movie(const Bytes& tracks = track(), const Bytes& more = {}) {
    return atom("moov", joined({movieHeader(), tracks, more}));
}

inline timeline::SharedBytes shared(const Bytes& bytes) {
    return timeline::SharedBytes::copyOf(bytes);
}

}  // namespace TWQuickTime::moviefile::test
