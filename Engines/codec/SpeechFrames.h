// How packets of the telephones' speech codecs are made up: of frames of 20 ms, each with a byte in
// front that tells its kind. The library's decoders look at the first one of a packet only.
#pragma once

#include <cstddef>
#include <optional>

#include "Engines/codec/SampleDescription.h"

namespace TWQuickTime::codec {

struct SpeechCodec {
    bool wide = false;  ///< 16000 Hz instead of 8000

    int sampleRate() const { return wide ? 16000 : 8000; }
    int samplesPerFrame() const { return sampleRate() / 50; }
    /// Of a frame that begins with that byte, this byte included.
    std::size_t frameSize(std::byte head) const;
};

/// None for all other types.
std::optional<SpeechCodec> speechCodec(std::uint32_t type);

}  // namespace TWQuickTime::codec
