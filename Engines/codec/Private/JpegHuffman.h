// Huffman tables that were made for one picture, made fit for all others.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

namespace TWQuickTime::codec {

/// Adds the symbols that the compressor's tables lack (long codes), so that any 8-bit picture can
/// be coded with them, and marks them to be written into each picture.
void completeTables(jpeg_compress_struct& info);

/// How many codes there are of each length (index 0 is length 1), and the symbols in order of
/// their codes.
struct HuffmanCode {
    std::array<std::uint8_t, 16> counts{};
    std::vector<std::uint8_t> symbols;
};

/// The best code with at most 16 bits for the given frequencies; symbols of frequency 0 get none,
/// and no code consists of ones only (ITU-T T.81, annex K.2).
HuffmanCode huffmanCodeFor(const std::array<std::uint64_t, 256>& frequencies);

}  // namespace TWQuickTime::codec
