// A size in pixels on the command line: 1280x720.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace twqt {

struct SizeArgument {
    int widthInPixels = 0;
    int heightInPixels = 0;
};

/// Reads "WxH", each from 1 to 32767. None for anything else.
std::optional<SizeArgument> parseSize(std::string_view text);

/// Adds an option that takes such a size; a text that is none is wrong usage.
CLI::Option* addSizeOption(CLI::App& command, const std::string& name,
                           std::optional<SizeArgument>& size, const std::string& description);

}  // namespace twqt
