#include "Engines/moviefile/MovieText.h"

#include <array>
#include <cstdint>

namespace TWQuickTime::moviefile {
namespace {

/// The characters of bytes 0x80 to 0xFF; below them it is ASCII.
constexpr std::array<char16_t, 128> kUpperHalf{
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

void appendUtf8(std::string& text, std::uint32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
        return;
    }
    const int following = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr std::uint32_t kLead[] = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(kLead[following] | code >> (6 * following));
    for (int i = following - 1; i >= 0; --i) {
        text += static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
    }
}

/// Bytes behind the first one of a character; -1 where none can begin.
int followingBytes(unsigned char first) {
    if (first < 0x80) {
        return 0;
    }
    if (first >= 0xC2 && first < 0xE0) {
        return 1;
    }
    if (first >= 0xE0 && first < 0xF0) {
        return 2;
    }
    return first >= 0xF0 && first < 0xF5 ? 3 : -1;
}

}  // namespace

std::string fromClassicRoman(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        appendUtf8(text, code < 0x80 ? char16_t{code} : kUpperHalf[code - 0x80u]);
    }
    return text;
}

std::string fromUtf16(std::span<const std::byte> bytes) {
    const auto unitAt = [bytes](std::size_t i) {
        return std::to_integer<std::uint32_t>(bytes[i]) << 8 |
               std::to_integer<std::uint32_t>(bytes[i + 1]);
    };
    std::string text;
    for (std::size_t i = 0; i + 2 <= bytes.size(); i += 2) {
        const std::uint32_t unit = unitAt(i);
        const bool first = unit >= 0xD800 && unit < 0xDC00;
        if (first && i + 4 <= bytes.size() && (unitAt(i + 2) & 0xFC00) == 0xDC00) {
            appendUtf8(text, 0x10000 + ((unit & 0x3FF) << 10) + (unitAt(i + 2) & 0x3FF));
            i += 2;
        } else if ((unit & 0xF800) != 0xD800) {
            appendUtf8(text, unit);
        }
    }
    return text;
}

bool isUtf8(std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        for (int left = followingBytes(static_cast<unsigned char>(bytes[i])); left != 0; --left) {
            if (left < 0 || ++i == bytes.size() ||
                (static_cast<unsigned char>(bytes[i]) & 0xC0) != 0x80) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace TWQuickTime::moviefile
