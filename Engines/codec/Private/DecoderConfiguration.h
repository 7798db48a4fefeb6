// The codec library's "extra data" out of sample descriptions.
#pragma once

#include <cstdint>
#include <vector>

#include "Engines/codec/Private/Native.h"
#include "Engines/codec/SampleDescription.h"

namespace TWQuickTime::codec {

struct DecoderConfiguration {
    AVCodecID id = AV_CODEC_ID_NONE;
    std::vector<std::byte> extraData;
    /// Of Windows sound codecs; 0: unknown.
    int blockAlign = 0;
    int bitsPerCodedSample = 0;
};

DecoderConfiguration videoConfiguration(const VideoDescription& description, Bytes record);
DecoderConfiguration soundConfiguration(const SoundDescription& description, Bytes record);

/// Gives the context a padded copy of the bytes.
result::Status setExtraData(AVCodecContext& context, Bytes bytes);

}  // namespace TWQuickTime::codec
