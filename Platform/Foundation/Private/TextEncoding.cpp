#include "Private/TextEncoding.h"

#include <algorithm>

#include "Private/UTF8Decoder.h"

namespace TWQuickTime {
namespace {

/// What a well-formed U+FFFD looks like; the decoder gives the same character for ill-formed bytes.
constexpr std::string_view kEncodedReplacement = "\xEF\xBF\xBD";

enum class Encoding { utf8, utf16BigEndian, utf16LittleEndian, utf32BigEndian, utf32LittleEndian };

struct Detected {
    Encoding encoding = Encoding::utf8;
    std::size_t markLengthInBytes = 0;
};

Detected detect(std::span<const std::byte> bytes) noexcept {
    const auto at = [&](std::size_t i) {
        return i < bytes.size() ? std::to_integer<unsigned>(bytes[i]) : 0x100u;
    };
    if (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF)
        return {Encoding::utf8, 3};
    if (at(0) == 0 && at(1) == 0 && at(2) == 0xFE && at(3) == 0xFF)
        return {Encoding::utf32BigEndian, 4};
    if (at(0) == 0xFF && at(1) == 0xFE && at(2) == 0 && at(3) == 0)
        return {Encoding::utf32LittleEndian, 4};
    if (at(0) == 0xFE && at(1) == 0xFF)
        return {Encoding::utf16BigEndian, 2};
    if (at(0) == 0xFF && at(1) == 0xFE)
        return {Encoding::utf16LittleEndian, 2};
    if (at(0) == 0 && at(1) != 0 && at(1) < 0x80)
        return {Encoding::utf16BigEndian, 0};
    if (at(0) != 0 && at(0) < 0x80 && at(1) == 0)
        return {Encoding::utf16LittleEndian, 0};
    return {};
}

std::optional<std::string> utf8FromUTF16Bytes(std::span<const std::byte> bytes, bool bigEndian) {
    if (bytes.size() % 2 != 0)
        return std::nullopt;
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        const auto first = std::to_integer<unsigned>(bytes[2 * i]);
        const auto second = std::to_integer<unsigned>(bytes[2 * i + 1]);
        units[i] = static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
    }
    return utf8FromUTF16(units);
}

bool isScalarValue(char32_t character) noexcept {
    return character < 0xD800 || (character > 0xDFFF && character <= 0x10FFFF);
}

std::optional<std::string> utf8FromUTF32Bytes(std::span<const std::byte> bytes, bool bigEndian) {
    if (bytes.size() % 4 != 0)
        return std::nullopt;
    std::string text;
    text.reserve(bytes.size() / 4);
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        char32_t character = 0;
        for (std::size_t k = 0; k < 4; ++k)
            character =
                character << 8 | std::to_integer<std::uint32_t>(bytes[i + (bigEndian ? k : 3 - k)]);
        if (!isScalarValue(character))
            return std::nullopt;
        unicode::appendUTF8(text, character);
    }
    return text;
}

struct BlockContent {
    bool hasHighBytes = false;
    bool hasControls = false;
};

/// Looks at a short run of bytes without branches, so that the compiler can do many at once.
BlockContent lookAt(const char* bytes, std::size_t count) noexcept {
    unsigned char high = 0;
    unsigned char controls = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        high |= byte;
        controls |= static_cast<unsigned char>((byte < 0x20) & (byte != '\t') & (byte != '\n') &
                                               (byte != '\r'));
    }
    return {(high & 0x80) != 0, controls != 0};
}

bool checkText(std::string_view text, bool onlyXMLCharacters) noexcept {
    constexpr std::size_t blockLength = 1024;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t count = std::min(blockLength, text.size() - position);
        const BlockContent content = lookAt(text.data() + position, count);
        if (onlyXMLCharacters && content.hasControls)
            return false;
        if (!content.hasHighBytes) {
            position += count;
            continue;
        }
        const std::size_t end = position + count;
        while (position < end) {
            const unicode::DecodedCharacter character = unicode::decodeFirst(text.substr(position));
            const bool isIllFormed =
                character.codePoint == unicode::replacementCharacter &&
                text.substr(position, character.lengthInBytes) != kEncodedReplacement;
            if (isIllFormed || (onlyXMLCharacters && !isXMLCharacter(character.codePoint)))
                return false;
            position += character.lengthInBytes;
        }
    }
    return true;
}

}  // namespace

std::optional<DecodedText> decodeText(std::span<const std::byte> bytes) {
    const Detected detected = detect(bytes);
    const std::span<const std::byte> content = bytes.subspan(detected.markLengthInBytes);
    std::optional<std::string> converted;
    switch (detected.encoding) {
        case Encoding::utf8:
            if (!isWellFormedUTF8(textOf(content)))
                return std::nullopt;
            return DecodedText(textOf(content));
        case Encoding::utf16BigEndian:
        case Encoding::utf16LittleEndian:
            converted = utf8FromUTF16Bytes(content, detected.encoding == Encoding::utf16BigEndian);
            break;
        case Encoding::utf32BigEndian:
        case Encoding::utf32LittleEndian:
            converted = utf8FromUTF32Bytes(content, detected.encoding == Encoding::utf32BigEndian);
            break;
    }
    if (!converted)
        return std::nullopt;
    return DecodedText(std::move(*converted));
}

bool isUnmarkedByteText(std::span<const std::byte> bytes) noexcept {
    const Detected detected = detect(bytes);
    return detected.encoding == Encoding::utf8 && detected.markLengthInBytes == 0;
}

std::string utf8FromLatin1(std::string_view latin1) {
    std::string text;
    text.reserve(latin1.size());
    for (const char byte : latin1)
        unicode::appendUTF8(text, static_cast<unsigned char>(byte));
    return text;
}

bool isWellFormedUTF8(std::string_view text) noexcept {
    return checkText(text, false);
}

bool isXMLText(std::string_view text) noexcept {
    return checkText(text, true);
}

bool isXMLCharacter(char32_t character) noexcept {
    if (character < 0x20)
        return character == '\t' || character == '\n' || character == '\r';
    return isScalarValue(character) && character != 0xFFFE && character != 0xFFFF;
}

std::optional<std::string> utf8FromUTF16(std::u16string_view units) {
    std::string text;
    text.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t character = units[i];
        if (character >= 0xD800 && character <= 0xDFFF) {
            const bool isPair = character < 0xDC00 && i + 1 < units.size() &&
                                units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF;
            if (!isPair)
                return std::nullopt;
            character = 0x10000 + ((character - 0xD800) << 10) + (units[++i] - 0xDC00u);
        }
        unicode::appendUTF8(text, character);
    }
    return text;
}

}  // namespace TWQuickTime
