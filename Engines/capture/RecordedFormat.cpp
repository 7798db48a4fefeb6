#include "Engines/capture/RecordedFormat.h"

#include "Engines/codec/CodecNames.h"
#include "Engines/moviefile/Descriptions.h"

namespace TWQuickTime::capture {

using timeline::fourCharCode;

namespace {

constexpr std::uint32_t kLosslessQuality = 1024;
constexpr std::uint32_t kNormalQuality = 512;

bool isUncompressed(std::uint32_t codec) {
    return codec == fourCharCode("yuvs") || codec == fourCharCode("2vuy") ||
           codec == fourCharCode("raw ");
}

TrackFormat videoTrack(const VideoFormat& format, std::span<const std::byte> avcConfiguration) {
    moviefile::VideoDescription description;
    description.head.format = format.codec;
    description.vendor = fourCharCode("appl");
    description.spatialQuality = isUncompressed(format.codec) ? kLosslessQuality : kNormalQuality;
    description.width = static_cast<std::uint16_t>(format.width);
    description.height = static_cast<std::uint16_t>(format.height);
    if (const codec::CodecName* name = codec::findVideoCodecName(format.codec))
        description.setCodecName(std::string(name->name));
    if (!avcConfiguration.empty())
        description.extensions.set(fourCharCode("avcC"),
                                   timeline::SharedBytes::copyOf(avcConfiguration));
    return {.mediaType = fourCharCode("vide"),
            .timeScale = kVideoTimeScale,
            .description = moviefile::buildDescription(description),
            .dimensions = {format.width << 16, format.height << 16}};
}

TrackFormat soundTrack(const SoundFormat& format) {
    moviefile::SoundDescription description;
    description.head.format = format.codec;
    description.channels16 = static_cast<std::uint16_t>(format.channels);
    const bool is24 = format.codec == fourCharCode("in24");
    if (is24) {
        // Samples wider than 16 bits are told by version 1; the old field stays at 16.
        description.version = 1;
        description.samplesPerPacket = 1;
        description.bytesPerPacket = 3;
        description.bytesPerFrame = static_cast<std::uint32_t>(format.bytesPerFrame());
        description.bytesPerSample = 2;
    }
    description.setSampleRate(format.sampleRate);
    return {.mediaType = fourCharCode("soun"),
            .timeScale = static_cast<std::uint32_t>(format.sampleRate),
            .description = moviefile::buildDescription(description),
            .bytesPerUnit = static_cast<std::uint32_t>(format.bytesPerFrame())};
}

}  // namespace

int SoundFormat::bytesPerFrame() const {
    return channels * (codec == fourCharCode("in24") ? 3 : 2);
}

TrackFormat trackFormatOf(const StreamFormat& format, std::span<const std::byte> avcConfiguration) {
    if (const auto* video = std::get_if<VideoFormat>(&format))
        return videoTrack(*video, avcConfiguration);
    return soundTrack(std::get<SoundFormat>(format));
}

}  // namespace TWQuickTime::capture
