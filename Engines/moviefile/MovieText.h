// Texts as movie files hold them, made UTF-8.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace TWQuickTime::moviefile {

/// The classic encoding of Latin scripts, from before Unicode. Every byte has a character.
std::string fromClassicRoman(std::string_view bytes);
/// Big-endian, without its mark; halves of pairs that stand alone are left out.
std::string fromUtf16(std::span<const std::byte> bytes);
bool isUtf8(std::string_view bytes);

}  // namespace TWQuickTime::moviefile
