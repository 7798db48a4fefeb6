// Encodes sound into the samples of one sound sample description.
//
//     auto encoder = SoundEncoder::open({.codec = fourCode("mp4a"), .sampleRate = 48000});
//     (*encoder)->encode(interleaved);
//     while (auto packet = (*encoder)->receive(); packet && *packet) write(**packet);
//
// Packet times and durations count frames of sound from the first one given. Not for use from two
// threads at once.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "Engines/codec/Packet.h"
#include "Engines/codec/VideoEncoder.h"

namespace TWQuickTime::codec {

struct SoundEncoderSettings {
    std::uint32_t codec = 0;
    int sampleRate = 44100;
    int channels = 2;
    /// For uncompressed and lossless codecs: 8, 16, 24, 32, 64.
    int bitsPerSample = 16;
    /// For lossy codecs; 0: the codec's usual rate for the channels.
    std::int64_t bytesPerSecond = 0;
    StreamLayout layout = StreamLayout::movie;
};

class SoundEncoder {
  public:
    virtual ~SoundEncoder() = default;

    /// `notAvailable` when this machine has no encoder of the type, `unsupported` when the encoder
    /// cannot do the rate or the channels.
    static result::Expected<std::unique_ptr<SoundEncoder>> open(
        const SoundEncoderSettings& settings);

    /// As given, with the type and width that are really written ('twos' with 24 bits is 'in24').
    const SoundEncoderSettings& settings() const { return settings_; }

    /// @param interleaved  whole frames, any number of them
    virtual result::Status encode(std::span<const float> interleaved) = 0;
    virtual result::Status finish() = 0;
    virtual result::Expected<std::optional<Packet>> receive() = 0;

    /// Bytes of a frame of sound when each frame is a sample of its own (PCM), else 0.
    virtual int bytesPerPcmFrame() const = 0;
    /// Frames that stand in front of the first one given and are not to be heard.
    virtual int primingFrames() const = 0;
    /// How many frames every packet decodes to, also the last one, whose filling its duration
    /// leaves out; 0 where packets differ, or where files cannot say how much is filling.
    virtual int framesPerPacket() const = 0;

    /// The whole record for 'stsd', data reference index 1. Complete once a packet has been
    /// received.
    /// @param isoStyle  for MPEG-4 files
    virtual std::vector<std::byte> sampleDescription(bool isoStyle) const = 0;
    /// For muxers of the codec library.
    virtual std::shared_ptr<const NativeParameters> parameters() const = 0;

  protected:
    explicit SoundEncoder(const SoundEncoderSettings& settings) : settings_(settings) {}
    SoundEncoderSettings settings_;
};

}  // namespace TWQuickTime::codec
