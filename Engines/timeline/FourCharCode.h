// Four-character codes: the names of atoms, media types, codecs.
#pragma once

#include <cstdint>
#include <string>

namespace TWQuickTime::timeline {

using FourCharCode = std::uint32_t;

/// The code of a text of four characters: fourCharCode("moov").
consteval FourCharCode fourCharCode(const char (&text)[5]) {
    FourCharCode code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

/// The code as four characters for messages and dumps; bytes that are not printable ASCII as \xNN.
std::string textOf(FourCharCode code);

}  // namespace TWQuickTime::timeline
