// The exporters there are: what they are called, what they write, what they take by default.
//
//     for (const ExporterFamily& family : exporterFamilies()) list(family.name);
#pragma once

#include <cstdint>
#include <span>

#include "Engines/transcode/ExportSettings.h"

namespace TWQuickTime::transcode {

struct ExporterFamily {
    std::uint32_t subtype;
    FileKind kind;
    const char* name;
    const char* info;
    std::uint32_t extension;    ///< four-character code filled with blanks
    std::uint32_t sourceMedia;  ///< media type it is for; 0: any
    std::uint32_t videoCodec;   ///< by default; 0: writes no pictures
    std::uint32_t soundCodec;   ///< by default; 0: writes no sound
    /// What else it can write; empty: whatever there is an encoder for.
    std::span<const std::uint32_t> videoCodecs;
    std::span<const std::uint32_t> soundCodecs;

    bool takesVideo(std::uint32_t codec) const;
    bool takesSound(std::uint32_t codec) const;
};

/// In the order in which they are offered.
std::span<const ExporterFamily> exporterFamilies();

/// Null when there is none of that subtype.
const ExporterFamily* exporterFamily(std::uint32_t subtype);

/// Of the files that it writes with these settings: images are named after their codec.
std::uint32_t extensionFor(const ExporterFamily& family, const ExportSettings& settings);

/// Settings before anybody changed them.
ExportSettings defaultSettings(const ExporterFamily& family);

}  // namespace TWQuickTime::transcode
