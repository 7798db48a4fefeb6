// Base64 as property lists hold it: the standard alphabet, padded, broken into lines at will.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace TWQuickTime {

/// White space is skipped; nothing for any other foreign character or wrong padding.
std::optional<std::vector<std::byte>> bytesFromBase64(std::string_view text);

/// Appends the text in lines, each begun by the indentation and ended by a line feed.
/// @param bytesPerLine  a multiple of 3
void appendBase64Lines(std::string& text, std::span<const std::byte> bytes,
                       std::string_view indentation, std::size_t bytesPerLine);

}  // namespace TWQuickTime
