#include "FourCharCodeText.h"

#include <cstdint>

namespace twqt {

std::optional<TWQuickTime::OSType> parseFourCharCode(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            bytes += static_cast<char>(byte);
        } else if ((byte == 0xc2 || byte == 0xc3) && i + 1 < text.size()) {
            const auto low = static_cast<unsigned char>(text[++i]);
            bytes += static_cast<char>(((byte & 0x03) << 6) | (low & 0x3f));
        } else {
            return std::nullopt;
        }
    }
    if (bytes.empty() || bytes.size() > 4)
        return std::nullopt;
    return TWQuickTime::fourCC(bytes.c_str());
}

std::string fourCharCodeText(TWQuickTime::OSType code) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<std::uint8_t>(code >> shift);
        if (byte >= 0x20 && byte < 0x7f) {
            text += static_cast<char>(byte);
        } else if (byte > 0xa0) {
            text += static_cast<char>(0xc0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3f));
        } else {
            text += std::string("\\x") + digits[byte >> 4] + digits[byte & 0x0f];
        }
    }
    return text;
}

CLI::Option* addFourCharCodeOption(CLI::App& command, const std::string& name,
                                   std::optional<TWQuickTime::OSType>& code,
                                   const std::string& description) {
    return command
        .add_option_function<std::string>(
            name,
            [name, &code](const std::string& text) {
                code = parseFourCharCode(text);
                if (!code)
                    throw CLI::ValidationError(name,
                                               "\"" + text + "\" is no four-character code (avc1)");
            },
            description)
        ->type_name("CODE");
}

}  // namespace twqt
