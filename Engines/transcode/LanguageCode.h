// Languages of media: classic codes below 0x400 and three packed letters of ISO 639-2 above.
#pragma once

#include <cstdint>
#include <string>

namespace TWQuickTime::transcode {

/// The three packed letters; 'und' for classic codes of no such language and for what is no code.
std::uint16_t packedLanguage(std::uint16_t code);
/// "eng"; "" when it is undetermined or holds other things than letters.
std::string languageLetters(std::uint16_t code);

}  // namespace TWQuickTime::transcode
