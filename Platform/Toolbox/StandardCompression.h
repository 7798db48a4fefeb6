// The standard compressor's settings records, as they stand in atoms of exporter settings: packed
// to two bytes, big-endian in an atom, in the host's order once converted.
#pragma once

#include <cstdint>

#include "CodecInformation.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

// Atom types of the records and of single values beside them.
constexpr OSType scSpatialSettingsType = fourCC("sptl");
constexpr OSType scTemporalSettingsType = fourCC("tprl");
constexpr OSType scDataRateSettingsType = fourCC("drat");
constexpr OSType scSoundSampleRateType = fourCC("ssrt");
constexpr OSType scSoundSampleSizeType = fourCC("ssss");
constexpr OSType scSoundChannelCountType = fourCC("sscc");
constexpr OSType scSoundCompressionType = fourCC("ssct");

// Qualities.
constexpr std::uint32_t codecMinQuality = 0x000;
constexpr std::uint32_t codecLowQuality = 0x100;
constexpr std::uint32_t codecNormalQuality = 0x200;
constexpr std::uint32_t codecHighQuality = 0x300;
constexpr std::uint32_t codecMaxQuality = 0x3FF;
constexpr std::uint32_t codecLosslessQuality = 0x400;

#pragma pack(push, 2)
struct SCSpatialSettings {
    CodecType codecType = 0;
    std::uint32_t codec = 0;  ///< a certain codec, as a number; 0 for any
    std::int16_t depth = 0;   ///< bits per pixel; 0 leaves it to the codec
    std::uint32_t spatialQuality = 0;
    friend bool operator==(const SCSpatialSettings&, const SCSpatialSettings&) = default;
};

struct SCTemporalSettings {
    std::uint32_t temporalQuality = 0;
    Fixed frameRate = 0;  ///< frames per second, 16.16; 0 is the source's
    std::int32_t keyFrameRate = 0;
    friend bool operator==(const SCTemporalSettings&, const SCTemporalSettings&) = default;
};

struct SCDataRateSettings {
    std::int32_t dataRate = 0;  ///< bytes per second; 0 sets no limit
    std::int32_t frameDuration = 0;
    std::uint32_t minSpatialQuality = 0;
    std::uint32_t minTemporalQuality = 0;
    friend bool operator==(const SCDataRateSettings&, const SCDataRateSettings&) = default;
};
#pragma pack(pop)
static_assert(sizeof(SCSpatialSettings) == 14);
static_assert(sizeof(SCTemporalSettings) == 12);
static_assert(sizeof(SCDataRateSettings) == 16);

}  // namespace TWQuickTime
