// Texts from before Unicode, made UTF-8.
//
// Each writing system had an encoding of its own. Files name it by its number, or by that of a
// language written in it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace TWQuickTime::moviefile {

/// The script of Latin letters.
constexpr std::uint32_t kRomanScript = 0;

/// The script in which texts of a language were written, by the language's classic number (below
/// 0x400): 0 English … 11 Japanese … 32 Russian.
std::uint32_t scriptOfClassicLanguage(std::uint16_t language);

/// What no table is known for, or stands in none, becomes U+FFFD.
/// @param script  0 Roman, 1 Japanese, 2 and 25 Chinese, 3 Korean, 7 Cyrillic, 21 Thai, 29 Central
///                European …
std::string fromClassicScript(std::string_view bytes, std::uint32_t script);

}  // namespace TWQuickTime::moviefile
