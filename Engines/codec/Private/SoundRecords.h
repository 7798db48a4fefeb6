// Sound sample descriptions for what an encoder produces.
#pragma once

#include <cstdint>
#include <vector>

#include "Engines/codec/ByteOrder.h"
#include "Engines/codec/Private/Native.h"
#include "Engines/codec/SoundEncoder.h"

namespace TWQuickTime::codec {

struct SoundRecordFacts {
    AVCodecID id = AV_CODEC_ID_NONE;
    SoundEncoderSettings settings;
    int framesPerPacket = 0;
    int bytesPerPcmFrame = 0;
    int blockAlign = 0;
    bool littleEndian = false;
    bool floatingPoint = false;
    std::int64_t bitRate = 0;
    Bytes extraData;
    /// A packet's bytes, for codecs whose record repeats what the packets say.
    Bytes firstPacket;
};

std::vector<std::byte> soundRecord(const SoundRecordFacts& facts, bool isoStyle);

}  // namespace TWQuickTime::codec
