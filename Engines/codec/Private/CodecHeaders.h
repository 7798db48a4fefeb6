// The codec's own headers in the forms that movie files want them.
#pragma once

#include <cstdint>
#include <vector>

#include "Engines/codec/ByteOrder.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::codec {

/// The NAL units of a stream with start codes (ITU-T H.264 and H.265, Annex B).
std::vector<Bytes> nalUnitsOf(Bytes annexB);
/// Start codes replaced by 4-byte lengths; parameter sets that the description holds are left out.
std::vector<std::byte> lengthPrefixed(Bytes annexB);

/// 'avcC' and 'hvcC' records (ISO/IEC 14496-15) from parameter sets with start codes.
result::Expected<std::vector<std::byte>> avcRecord(Bytes parameterSets);
result::Expected<std::vector<std::byte>> hevcRecord(Bytes parameterSets, int chromaFormat,
                                                    int bitDepth);

/// The payload of an 'esds' atom (ISO/IEC 14496-1).
/// @param objectType  0x20 MPEG-4 video, 0x40 AAC, 0x6B MP3 …
std::vector<std::byte> esdsPayload(int objectType, bool sound, std::uint32_t bufferBytes,
                                   std::uint32_t maximumBits, std::uint32_t averageBits,
                                   Bytes specificInfo);

/// The three bytes of 'dac3' and the five of 'dec3' (ETSI TS 102 366, annex F), read from a frame.
std::vector<std::byte> ac3Record(Bytes frame);
std::vector<std::byte> eac3Record(Bytes frame, int kilobitsPerSecond);
/// 'dOps' from the Ogg header that the encoder gives.
std::vector<std::byte> opusRecord(Bytes oggHead);

}  // namespace TWQuickTime::codec
