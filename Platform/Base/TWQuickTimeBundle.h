// Where the framework's own resources are found, and under which name its texts are translated.
#pragma once

namespace TWQuickTime {

/// Identifier of the framework's bundle, for NSBundle::bundleWithIdentifier.
inline constexpr const char* TWQuickTimeBundleIdentifier = "org.twquicktime.TWQuickTime";
/// The strings table of all texts that presets and exporters show to users.
inline constexpr const char* TWQuickTimeStringsTable = "TWQuickTime_QECS";

}  // namespace TWQuickTime
