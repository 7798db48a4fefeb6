// A time on the command line: seconds, or timecode with its rate.
//
//     addTimeOption(*command, "--start", options->start, "where to begin");
//     …  options.start.seconds
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace twqt {

struct TimeArgument {
    double seconds = 0.0;  ///< never negative, always finite
};

/// Reads "12.5" (seconds) or "00:00:12:12@25" (hours:minutes:seconds:frames at frames per second;
/// 29.97 and the like count whole frames and run at 30000/1001). None for anything else.
std::optional<TimeArgument> parseTime(std::string_view text);

/// Adds an option that takes such a time; a text that is none is wrong usage.
CLI::Option* addTimeOption(CLI::App& command, const std::string& name, TimeArgument& time,
                           const std::string& description);
/// The same for a time that may be left out.
CLI::Option* addTimeOption(CLI::App& command, const std::string& name,
                           std::optional<TimeArgument>& time, const std::string& description);

}  // namespace twqt
