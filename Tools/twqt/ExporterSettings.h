// Settings of an exporter from options of the command line.
#pragma once

#include <TWQECSReader.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Command.h"
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
};

void addExporterSettingsOptions(CLI::App& command, ExporterSettingsOptions& options);

/// The exporter's own settings with the options put in, accepted by the exporter; throws a
/// CommandFailure when it is missing or refuses them.
std::vector<std::byte> makeExporterSettings(const ExporterSettingsOptions& options);

/// The setting or sequence with an identifier, written as text: a number in the file is found by
/// its digits. Null for none.
std::shared_ptr<TWQuickTime::TWQECS> presetWithIdentifier(const TWQuickTime::TWQECSReader& reader,
                                                          const std::string& identifier);

}  // namespace twqt
