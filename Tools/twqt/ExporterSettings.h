// Settings of an exporter from options of the command line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Command.h"
#include "NSData.h"
#include "SizeArgument.h"
#include "ToolboxTypes.h"

namespace twqt {

struct ExporterSettingsOptions {
    std::optional<TWQuickTime::OSType> exporter;
    std::optional<TWQuickTime::OSType> videoCodec;
    std::optional<double> quality;  ///< 0 to 1
    std::optional<std::uint32_t> dataRate;
    std::optional<std::uint32_t> keyFrameEvery;
    std::optional<SizeArgument> size;
    std::optional<double> frameRate;
    bool noVideo = false;
    std::optional<TWQuickTime::OSType> audioCodec;
    std::optional<double> sampleRate;
    std::optional<std::uint32_t> channels;
    std::optional<std::uint32_t> sampleSize;
    bool noAudio = false;
    bool fastStart = false;
};

void addExporterSettingsOptions(CLI::App& command, ExporterSettingsOptions& options);

/// The exporter's own settings with the options put in, accepted by the exporter; throws a
/// CommandFailure when it is missing or refuses them.
std::vector<std::byte> makeExporterSettings(const ExporterSettingsOptions& options);

/// Whether any option besides the exporter was given.
bool changesAnything(const ExporterSettingsOptions& options);

/// The bytes of a settings file; throws a CommandFailure when it cannot be read.
TWQuickTime::NSData readSettingsFile(const std::string& path);

}  // namespace twqt
