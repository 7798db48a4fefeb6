// Encodes pictures into the samples of one video sample description.
//
//     auto encoder = VideoEncoder::open({.codec = fourCode("avc1"), .width = 64, .height = 48});
//     (*encoder)->encode(*converter.convert(frame, (*encoder)->input()));
//     while (auto packet = (*encoder)->receive(); packet && *packet) write(**packet);
//
// Not for use from two threads at once.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Engines/codec/Packet.h"
#include "Engines/codec/PixelConverter.h"
#include "Engines/codec/SampleDescription.h"

namespace TWQuickTime::codec {

struct NativeParameters;

/// How the coded stream will be stored, as far as encoders have to know.
enum class StreamLayout {
    movie,    ///< QuickTime, MPEG-4: codec headers in the sample description
    foreign,  ///< a muxer of the codec library with headers of its own
    inBand,   ///< streams without a place for headers (MPEG program streams, still pictures)
};

constexpr int kQualityMinimum = 0;
constexpr int kQualityNormal = 512;
constexpr int kQualityMaximum = 1023;
constexpr int kQualityLossless = 1024;

struct VideoEncoderSettings {
    std::uint32_t codec = 0;
    int width = 0;
    int height = 0;
    Rational pixelAspect{1, 1};
    /// Of the pictures that will come; encoders keep it where the codec can carry it.
    ColorTags color;
    /// Format of the pictures as they are before any conversion: the nearest one is chosen.
    PixelFormat sourceFormat;
    bool interlaced = false;
    bool topFieldFirst = false;
    /// Units of frame times per second.
    std::int32_t timeScale = 600;
    /// For rate control and formats with a fixed rate; frames need not come at that rate.
    Rational frameRate{25, 1};
    /// 0: the codec's usual; 8, 16, 24: without alpha; 32: with alpha; 40: grey.
    int depth = 24;
    /// 0…1023, 1024: lossless where the codec can; see Docs/EXPORT.md for each codec's scale.
    int spatialQuality = kQualityNormal;
    int temporalQuality = kQualityNormal;
    /// At most so many frames from one key frame to the next; 0: the encoder's choice.
    int keyFrameEvery = 0;
    /// Aim for that rate; 0: by quality alone.
    std::int64_t bytesPerSecond = 0;
    StreamLayout layout = StreamLayout::movie;
    /// Packets may come in another order than pictures (B-frames).
    bool reorder = true;
    /// 0: as many as the encoder finds useful here.
    int threads = 0;
};

class VideoEncoder {
  public:
    virtual ~VideoEncoder() = default;

    /// `notAvailable` when this machine has no encoder of the type, `unsupported` or `badArgument`
    /// when the encoder cannot do the size, rate or format.
    static result::Expected<std::unique_ptr<VideoEncoder>> open(
        const VideoEncoderSettings& settings);

    /// What encode() wants pictures to be.
    const PictureTarget& input() const { return input_; }
    const VideoEncoderSettings& settings() const { return settings_; }

    /// Times must grow from frame to frame.
    virtual result::Status encode(const VideoFrame& frame) = 0;
    virtual result::Status finish() = 0;
    /// The next packet in decode order; none when another frame is needed or at the end.
    virtual result::Expected<std::optional<Packet>> receive() = 0;

    /// By how many packets decoding may run ahead of presentation. Settled once a packet has been
    /// received.
    virtual int reorderDepth() const { return 0; }

    /// The whole record for 'stsd', data reference index 1. Complete once a packet has been
    /// received.
    /// @param isoStyle  for MPEG-4 files: without the extensions only QuickTime knows
    std::vector<std::byte> sampleDescription(bool isoStyle) const;
    /// For muxers of the codec library.
    virtual std::shared_ptr<const NativeParameters> parameters() const = 0;

  protected:
    explicit VideoEncoder(const VideoEncoderSettings& settings) : settings_(settings) {}
    /// Extension atoms of the codec itself ('avcC', 'esds').
    virtual std::vector<std::byte> codecExtensions() const { return {}; }
    /// Of the coded pictures, where the encoder changes what it is given.
    virtual ColorTags codedColor() const { return input_.color; }

    VideoEncoderSettings settings_;
    PictureTarget input_;
};

}  // namespace TWQuickTime::codec
