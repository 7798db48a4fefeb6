// Four-character codes as people type and read them.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "ToolboxTypes.h"

namespace twqt {

/// Reads "avc1"; up to three trailing blanks may be left out ("raw"). A character above ASCII
/// stands for the byte of its Latin-1 number ("©nam"). None for an empty or longer text.
std::optional<TWQuickTime::OSType> parseFourCharCode(std::string_view text);

/// The code as UTF-8 text, with trailing blanks; control characters and bytes from 0x80 on, other
/// than the printable ones of Latin-1, are written "\xNN".
std::string fourCharCodeText(TWQuickTime::OSType code);

/// Adds an option that takes such a code; a text that is none is wrong usage.
CLI::Option* addFourCharCodeOption(CLI::App& command, const std::string& name,
                                   std::optional<TWQuickTime::OSType>& code,
                                   const std::string& description);

}  // namespace twqt
