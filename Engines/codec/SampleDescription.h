// What a sample description (an entry of 'stsd') says about its video or sound.
//
// Reading never fails for odd extensions: what cannot be understood is left at its default. Only a
// record too short for its fixed part is refused. Layout: the QuickTime file format's video and
// sound sample descriptions, versions 0 to 2 of the latter.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "Engines/codec/ByteOrder.h"
#include "Engines/codec/PixelFormat.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::codec {

/// The clean aperture: the part of the stored picture that is meant to be seen.
struct CleanAperture {
    double width = 0, height = 0;
    /// Of the aperture's centre from the picture's centre.
    double offsetX = 0, offsetY = 0;
    friend bool operator==(const CleanAperture&, const CleanAperture&) = default;
};

/// An extension atom's payload inside the description; empty when there is none.
Bytes descriptionExtension(Bytes description, std::size_t fixedSize, std::uint32_t type);

struct VideoDescription {
    std::uint32_t format = 0;
    int width = 0;
    int height = 0;
    /// 1…32 colour, 33…40 grey.
    int depth = 24;
    Rational pixelAspect;
    std::optional<CleanAperture> cleanAperture;
    ColorTags color;
    bool interlaced = false;
    bool topFieldFirst = false;
    /// 0xAARRGGBB for depths up to 8 (and 33 to 40); empty otherwise.
    std::vector<std::uint32_t> palette;
    /// First byte of the extension atoms, from the record's start.
    std::size_t extensionsOffset = 86;
};

result::Expected<VideoDescription> readVideoDescription(Bytes description);

struct SoundDescription {
    std::uint32_t format = 0;
    int version = 0;
    int channels = 0;
    int bitsPerSample = 0;
    double sampleRate = 0;
    /// Version 1 and 2: frames of sound in a packet, bytes of a packet of all channels; 0: unknown.
    std::uint32_t framesPerPacket = 0;
    std::uint32_t bytesPerPacket = 0;
    /// Version 2 'lpcm' flags.
    std::uint32_t formatFlags = 0;
    bool littleEndian = false;
    std::size_t extensionsOffset = 36;
    /// Payload of the 'wave' extension; empty when there is none.
    Bytes wave;
};

/// The result refers to the given bytes.
result::Expected<SoundDescription> readSoundDescription(Bytes description);

/// Frames and bytes of the packets that sound samples group into (a sample of a classic
/// description is one frame): {1, frame size} for PCM, {64, 34·channels} for 'ima4', …; {0, 0}
/// when each sample is a packet of its own.
struct SoundPacking {
    std::uint32_t framesPerPacket = 0;
    std::uint32_t bytesPerPacket = 0;
};
SoundPacking soundPacking(const SoundDescription& description);

/// The standard colour table of a depth (1, 2, 4, 8; 33 to 40 are the greys), as 0xAARRGGBB.
std::vector<std::uint32_t> standardPalette(int depth);

}  // namespace TWQuickTime::codec
