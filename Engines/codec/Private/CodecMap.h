// From codec types to the codec library's codecs.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>

#include "Engines/codec/CodecNames.h"
#include "Engines/codec/Private/Native.h"
#include "Engines/codec/SampleDescription.h"

namespace TWQuickTime::codec {

/// How far the 0…1024 quality scale reaches on an encoder's own scale; see Docs/EXPORT.md.
enum class QualityScale {
    none,         ///< the codec has no quality (raw, lossless)
    crf,          ///< constant rate factor of x264, x265 (`worst` at 0, `best` at 1023)
    quantizer,    ///< fixed quantiser, libavcodec's 1…31
    jpeg,         ///< 0…100
    profileBits,  ///< fixed bit rate of a professional profile
    lavcGlobal,   ///< libavcodec's global quality for svq1, cinepak, …
};

/// How a type is encoded. Which encoder does it stands with the type's name.
struct VideoCodecEntry {
    std::uint32_t type;
    AVCodecID id;
    QualityScale scale;
    double worst, best;
    /// The pixel formats that the type may carry, best first; for alpha and grey depths too.
    std::span<const AVPixelFormat> formats;
    int profile = FF_PROFILE_UNKNOWN;
};

struct SoundCodecEntry {
    std::uint32_t type;
    AVCodecID id;
    int bitsPerSample;
    bool pcm;
};

/// The first installed one of a codec's encoders; null for none and for no codec.
const AVCodec* installedEncoder(const CodecName* codec);

const VideoCodecEntry* videoCodecEntry(std::uint32_t type);
const SoundCodecEntry* soundCodecEntry(std::uint32_t type);
std::span<const VideoCodecEntry> videoCodecEntries();
std::span<const SoundCodecEntry> soundCodecEntries();

AVCodecID videoDecoderId(std::uint32_t type);
/// PCM types depend on width, sign and byte order, hence the whole description.
AVCodecID soundDecoderId(const SoundDescription& description);

}  // namespace TWQuickTime::codec
