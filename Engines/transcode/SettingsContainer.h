// An exporter's settings as the bytes of an atom container, and what they mean.
//
// Groups 'vide' and 'soun' hold the records of the standard compressor: 'sptl' (codec, depth,
// spatial quality), 'tprl' (temporal quality, frame rate, key frames), 'drat' (data rate), and
// 'ssct' 'ssrt' 'ssss' 'sscc' (sound codec, rate, size, channels). 'enso' and 'envi' switch sound
// and pictures on, 'wdth' and 'hegt' give the size. A leaf is found at the top level too. What is
// not known is kept as it is.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "Engines/result/Result.h"
#include "Engines/transcode/ExporterFamily.h"

namespace TWQuickTime::transcode {

/// The complete container for settings.
std::vector<std::byte> containerOf(const ExportSettings& settings);

/// What a container says, starting from other settings for what it does not say.
/// Everything is checked before anything is returned: `damaged` for bytes that are no container or
/// leaves of a wrong size, `badArgument` for values out of range, `unsupported` for codecs that the
/// family does not write.
result::Expected<ExportSettings> settingsIn(std::span<const std::byte> container,
                                            const ExporterFamily& family,
                                            const ExportSettings& otherwise);

/// A container with all of `given`, and for each known leaf that it lacks the one of `settings`.
result::Expected<std::vector<std::byte>> completedContainer(std::span<const std::byte> given,
                                                            const ExportSettings& settings);

/// Whether there is nothing in it: no bytes, or a container without children.
bool saysNothing(std::span<const std::byte> container);

}  // namespace TWQuickTime::transcode
