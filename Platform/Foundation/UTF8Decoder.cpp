#include "Private/UTF8Decoder.h"

namespace TWQuickTime::unicode {
namespace {

bool isInRange(unsigned char byte, unsigned char first, unsigned char last) {
    return byte >= first && byte <= last;
}

}  // namespace

DecodedCharacter decodeFirst(std::string_view utf8) noexcept {
    const auto byteAt = [&](std::size_t index) {
        return index < utf8.size() ? static_cast<unsigned char>(utf8[index]) : 0;
    };
    const unsigned char lead = byteAt(0);
    if (lead < 0x80)
        return {lead, 1};

    // The second byte's range depends on the lead byte: it shuts out overlong forms, surrogates and
    // everything above U+10FFFF.
    std::size_t length = 0;
    unsigned char secondFirst = 0x80, secondLast = 0xBF;
    char32_t codePoint = 0;
    if (isInRange(lead, 0xC2, 0xDF)) {
        length = 2;
        codePoint = lead & 0x1F;
    } else if (isInRange(lead, 0xE0, 0xEF)) {
        length = 3;
        codePoint = lead & 0x0F;
        if (lead == 0xE0)
            secondFirst = 0xA0;
        if (lead == 0xED)
            secondLast = 0x9F;
    } else if (isInRange(lead, 0xF0, 0xF4)) {
        length = 4;
        codePoint = lead & 0x07;
        if (lead == 0xF0)
            secondFirst = 0x90;
        if (lead == 0xF4)
            secondLast = 0x8F;
    } else {
        return {replacementCharacter, 1};
    }
    for (std::size_t index = 1; index < length; ++index) {
        const unsigned char byte = byteAt(index);
        const bool fits =
            index == 1 ? isInRange(byte, secondFirst, secondLast) : isInRange(byte, 0x80, 0xBF);
        if (!fits)
            return {replacementCharacter, index};
        codePoint = (codePoint << 6) | (byte & 0x3F);
    }
    return {codePoint, length};
}

void appendUTF8(std::string& to, char32_t codePoint) {
    if (codePoint < 0x80) {
        to += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        to += static_cast<char>(0xC0 | (codePoint >> 6));
        to += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        to += static_cast<char>(0xE0 | (codePoint >> 12));
        to += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        to += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
        to += static_cast<char>(0xF0 | (codePoint >> 18));
        to += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
        to += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        to += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

void appendUTF16(std::u16string& to, char32_t codePoint) {
    if (codePoint < 0x10000) {
        to += static_cast<char16_t>(codePoint);
        return;
    }
    const char32_t offset = codePoint - 0x10000;
    to += static_cast<char16_t>(0xD800 + (offset >> 10));
    to += static_cast<char16_t>(0xDC00 + (offset & 0x3FF));
}

std::u16string utf16FromUTF8(std::string_view utf8) {
    std::u16string units;
    units.reserve(utf8.size());
    while (!utf8.empty()) {
        const DecodedCharacter character = decodeFirst(utf8);
        appendUTF16(units, character.codePoint);
        utf8.remove_prefix(character.lengthInBytes);
    }
    return units;
}

std::string utf8FromUTF16(std::u16string_view units) {
    std::string utf8;
    utf8.reserve(units.size());
    for (std::size_t index = 0; index < units.size(); ++index) {
        const char16_t unit = units[index];
        const bool isHigh = unit >= 0xD800 && unit < 0xDC00;
        const bool isLow = unit >= 0xDC00 && unit < 0xE000;
        const bool lowFollows = isHigh && index + 1 < units.size() && units[index + 1] >= 0xDC00 &&
                                units[index + 1] < 0xE000;
        if (lowFollows) {
            const char32_t high = unit - 0xD800u, low = units[index + 1] - 0xDC00u;
            appendUTF8(utf8, 0x10000 + (high << 10) + low);
            ++index;
        } else {
            appendUTF8(utf8, isHigh || isLow ? replacementCharacter : unit);
        }
    }
    return utf8;
}

std::u32string codePointsFromUTF8(std::string_view utf8) {
    std::u32string codePoints;
    codePoints.reserve(utf8.size());
    while (!utf8.empty()) {
        const DecodedCharacter character = decodeFirst(utf8);
        codePoints += character.codePoint;
        utf8.remove_prefix(character.lengthInBytes);
    }
    return codePoints;
}

}  // namespace TWQuickTime::unicode
