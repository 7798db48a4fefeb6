// Sample descriptions taken apart and put together: video, sound, timecode.
//
//     Expected<VideoDescription> video = readVideoDescription(*media.description(1));
//     if (const auto aspect = extensionOf<PixelAspect>(video->extensions)) …
//
// What is read and written again without a change gives the same bytes. Text, tween and other
// descriptions have only the head that timeline::SampleDescription knows.
#pragma once

#include <optional>
#include <string>

#include "Engines/moviefile/DescriptionExtensions.h"
#include "Engines/result/Result.h"
#include "Engines/timeline/SampleDescription.h"

namespace TWQuickTime::moviefile {

/// The head of every description.
struct DescriptionHead {
    std::uint32_t sizeInBytes = 0;  ///< of the whole description; set when it is built
    std::uint32_t format = 0;       ///< the codec's type
    std::array<std::uint8_t, 6> reserved{};
    std::uint16_t dataReferenceIndex = 1;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& head) {
        v.field("size", head.sizeInBytes);
        v.field("format", head.format);
        v.reserved(head.reserved);
        v.field("dataReferenceIndex", head.dataReferenceIndex);
    }
};

struct VideoDescription {
    DescriptionHead head;
    std::uint16_t version = 0;
    std::uint16_t revision = 0;
    std::uint32_t vendor = 0;
    std::uint32_t temporalQuality = 0;              ///< 0 … 1023
    std::uint32_t spatialQuality = 0;               ///< 0 … 1023; 1024: lossless
    std::uint16_t width = 0;                        ///< pixels
    std::uint16_t height = 0;                       ///< pixels
    std::uint32_t horizontalResolution = 0x480000;  ///< dots per inch, 16.16
    std::uint32_t verticalResolution = 0x480000;    ///< dots per inch, 16.16
    std::uint32_t dataSize = 0;
    std::uint16_t frameCount = 1;
    std::array<std::uint8_t, 32> codecNameField{};  ///< a Pascal string; see codecName()
    std::uint16_t depth = 24;                       ///< bits; 33 and up: grey
    std::int16_t colorTableID = -1;                 ///< -1: the default table; 0: `colorTable`
    SharedBytes colorTable;  ///< seed, flags, last index, entries of 4 × 16 bits
    DescriptionExtensions extensions;

    std::string codecName() const;
    /// Takes the first 31 bytes.
    void setCodecName(const std::string& name);

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& video) {
        DescriptionHead::describe(v, video.head);
        v.field("version", video.version);
        v.field("revision", video.revision);
        v.field("vendor", video.vendor);
        v.field("temporalQuality", video.temporalQuality);
        v.field("spatialQuality", video.spatialQuality);
        v.field("width", video.width);
        v.field("height", video.height);
        v.field("horizontalResolution", video.horizontalResolution);
        v.field("verticalResolution", video.verticalResolution);
        v.field("dataSize", video.dataSize);
        v.field("frameCount", video.frameCount);
        v.array("codecName", video.codecNameField);
        v.field("depth", video.depth);
        v.field("colorTableID", video.colorTableID);
    }
};

/// The fields of version 1, and with another meaning those of version 2.
struct SoundDescription {
    DescriptionHead head;
    std::uint16_t version = 0;
    std::uint16_t revision = 0;
    std::uint32_t vendor = 0;
    std::uint16_t channels16 = 2;  ///< see channelCount()
    std::uint16_t bitsPerSample = 16;
    std::int16_t compressionID = 0;  ///< -2: packets of variable size or length
    std::uint16_t packetSize = 0;
    std::uint32_t sampleRate16 = 0;  ///< frames per second, 16.16 unsigned; see sampleRate()
    // Version 1.
    std::uint32_t samplesPerPacket = 0;
    std::uint32_t bytesPerPacket = 0;  ///< for one channel
    std::uint32_t bytesPerFrame = 0;   ///< for all channels
    std::uint32_t bytesPerSample = 0;
    // Version 2.
    std::uint32_t structureSizeInBytes = 72;
    std::uint64_t sampleRateBits = 0;  ///< a binary64
    std::uint32_t channels32 = 0;
    std::uint32_t always7F000000 = 0x7F000000;
    std::uint32_t bitsPerChannel = 0;
    std::uint32_t formatFlags = 0;           ///< 1 float, 2 big-endian, 4 signed, 8 packed
    std::uint32_t bytesPerAudioPacket = 0;   ///< 0: variable
    std::uint32_t framesPerAudioPacket = 0;  ///< 0: variable
    DescriptionExtensions extensions;

    std::uint32_t channelCount() const { return version == 2 ? channels32 : channels16; }
    double sampleRate() const;  ///< frames per second
    /// Sets it in the form that the version holds.
    void setSampleRate(double framesPerSecond);
    /// The data of an extension, or of a child of the 'wave' extension, where QuickTime files keep
    /// them; none when it is in neither place.
    std::optional<SharedBytes> find(FourCharCode type) const;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& sound) {
        DescriptionHead::describe(v, sound.head);
        v.field("version", sound.version);
        v.field("revision", sound.revision);
        v.field("vendor", sound.vendor);
        v.field("channels", sound.channels16);
        v.field("bitsPerSample", sound.bitsPerSample);
        v.field("compressionID", sound.compressionID);
        v.field("packetSize", sound.packetSize);
        v.field("sampleRate", sound.sampleRate16);
        if (sound.version == 1) {
            v.field("samplesPerPacket", sound.samplesPerPacket);
            v.field("bytesPerPacket", sound.bytesPerPacket);
            v.field("bytesPerFrame", sound.bytesPerFrame);
            v.field("bytesPerSample", sound.bytesPerSample);
        } else if (sound.version == 2) {
            v.field("structureSize", sound.structureSizeInBytes);
            v.field("sampleRateBits", sound.sampleRateBits);
            v.field("channels", sound.channels32);
            v.field("always7F000000", sound.always7F000000);
            v.field("bitsPerChannel", sound.bitsPerChannel);
            v.field("formatFlags", sound.formatFlags);
            v.field("bytesPerAudioPacket", sound.bytesPerAudioPacket);
            v.field("framesPerAudioPacket", sound.framesPerAudioPacket);
        }
    }
};

struct TimecodeDescription {
    DescriptionHead head;
    std::uint32_t reserved = 0;
    std::uint32_t flags = 0;  ///< 1 drop frame, 2 wraps at 24 hours, 4 negative allowed, 8 counter
    std::uint32_t timeScale = 0;
    std::uint32_t frameDuration = 0;   ///< time units of timeScale
    std::uint8_t framesPerSecond = 0;  ///< nominal
    std::uint8_t padding = 0;
    /// What follows: 4 zero bytes, or the source's user data (a 'name' item and others).
    SharedBytes source;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& timecode) {
        DescriptionHead::describe(v, timecode.head);
        v.field("reserved", timecode.reserved);
        v.field("flags", timecode.flags);
        v.field("timeScale", timecode.timeScale);
        v.field("frameDuration", timecode.frameDuration);
        v.field("framesPerSecond", timecode.framesPerSecond);
        v.field("padding", timecode.padding);
        v.remainder("source", timecode.source);
    }
};

/// `damaged` where a description is shorter than its kind demands.
result::Expected<VideoDescription> readVideoDescription(const timeline::SampleDescription& bytes);
timeline::SampleDescription buildDescription(const VideoDescription& video);

result::Expected<SoundDescription> readSoundDescription(const timeline::SampleDescription& bytes);
timeline::SampleDescription buildDescription(const SoundDescription& sound);

result::Expected<TimecodeDescription> readTimecodeDescription(
    const timeline::SampleDescription& bytes);
timeline::SampleDescription buildDescription(const TimecodeDescription& timecode);

}  // namespace TWQuickTime::moviefile
