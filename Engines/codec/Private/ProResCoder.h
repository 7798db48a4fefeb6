// Codes one ProRes picture after the other, each with the quantiser that it is told.
#pragma once

#include "Engines/codec/Private/CodecMap.h"
#include "Engines/codec/Private/Native.h"
#include "Engines/codec/VideoEncoder.h"

namespace TWQuickTime::codec {

/// An encoder of the library keeps to one quantiser, so one is made for each that is wanted, and
/// the last few are kept: all pictures are key frames, it does not matter which encoder codes
/// which. One thread at a time.
class ProResCoder {
  public:
    /// @param entry  outlives this object
    ProResCoder(const VideoEncoderSettings& settings, const PictureTarget& input,
                const VideoCodecEntry& entry);

    result::Expected<Packet> code(const VideoFrame& picture, int quantizer);
    /// Fails where the library cannot code such pictures.
    result::Status prepare(int quantizer);
    /// What a muxer has to know; after prepare().
    void describe(AVCodecParameters& parameters) const;

  private:
    result::Expected<CodecContextPointer> open(int quantizer) const;

    VideoEncoderSettings settings_;
    PictureTarget input_;
    const VideoCodecEntry* entry_;
    CodecContextPointer encoder_;
    int quantizer_ = 0;  ///< of the encoder
    std::int64_t coded_ = 0;
    PacketPointer packet_;
    FramePointer frame_;
};

}  // namespace TWQuickTime::codec
