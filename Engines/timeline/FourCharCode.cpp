#include "Engines/timeline/FourCharCode.h"

#include <cstdio>

namespace TWQuickTime::timeline {

std::string textOf(FourCharCode code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<unsigned char>(code >> shift);
        if (byte >= 0x20 && byte < 0x7F) {
            text.push_back(static_cast<char>(byte));
        } else {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", byte);
            text += escaped;
        }
    }
    return text;
}

}  // namespace TWQuickTime::timeline
