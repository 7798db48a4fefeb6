// The kinds of video encoders, chosen by VideoEncoder::open.
#pragma once

#include "Engines/codec/Private/CodecMap.h"
#include "Engines/codec/VideoEncoder.h"

namespace TWQuickTime::codec {

result::Expected<std::unique_ptr<VideoEncoder>> openNativeEncoder(
    const VideoEncoderSettings& settings, const VideoCodecEntry& entry);
/// Photo-JPEG with libjpeg-turbo.
result::Expected<std::unique_ptr<VideoEncoder>> openJpegEncoder(
    const VideoEncoderSettings& settings, const VideoCodecEntry& entry);
/// ProRes with one quantiser for each frame and a feedback on the sizes.
result::Expected<std::unique_ptr<VideoEncoder>> openProResEncoder(
    const VideoEncoderSettings& settings, const VideoCodecEntry& entry);

/// The pixel format of an entry that suits the settings best.
AVPixelFormat choosePixelFormat(const VideoEncoderSettings& settings, const VideoCodecEntry& entry);
/// Colour tags of what an encoder is given: those of the source where the codec can carry them.
ColorTags encodedColor(const VideoEncoderSettings& settings, PixelFormat format);

/// Quality mapped linearly from 0…1023 to the entry's scale.
double mappedQuality(const VideoCodecEntry& entry, int quality);

/// A packet of the library as ours, sharing its bytes.
Packet sharedPacket(AVPacket& packet);

}  // namespace TWQuickTime::codec
