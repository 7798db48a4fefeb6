#include "Private/Base64.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace TWQuickTime {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kForeign = 0xFF;
constexpr std::uint8_t kWhiteSpace = 0xFE;
constexpr std::uint8_t kPadding = 0xFD;

constexpr std::array<std::uint8_t, 256> makeValues() {
    std::array<std::uint8_t, 256> values{};
    values.fill(kForeign);
    for (std::uint8_t i = 0; i < 64; ++i)
        values[static_cast<unsigned char>(kAlphabet[i])] = i;
    for (const char space : {' ', '\t', '\n', '\r'})
        values[static_cast<unsigned char>(space)] = kWhiteSpace;
    values['='] = kPadding;
    return values;
}
constexpr std::array<std::uint8_t, 256> kValues = makeValues();

void appendGroup(std::string& text, std::span<const std::byte> group) {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i)
        bits = bits << 8 | (i < group.size() ? std::to_integer<std::uint32_t>(group[i]) : 0);
    for (std::size_t i = 0; i < 4; ++i)
        text.push_back(i <= group.size() ? kAlphabet[bits >> (18 - 6 * i) & 0x3F] : '=');
}

}  // namespace

std::optional<std::vector<std::byte>> bytesFromBase64(std::string_view text) {
    std::vector<std::byte> bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    int charactersInGroup = 0;
    int padding = 0;
    for (const char character : text) {
        const std::uint8_t value = kValues[static_cast<unsigned char>(character)];
        if (value == kWhiteSpace)
            continue;
        if (value == kForeign)
            return std::nullopt;
        if (value == kPadding) {
            ++padding;
            continue;
        }
        if (padding > 0)
            return std::nullopt;
        bits = bits << 6 | value;
        if (++charactersInGroup == 4) {
            bytes.push_back(static_cast<std::byte>(bits >> 16));
            bytes.push_back(static_cast<std::byte>(bits >> 8));
            bytes.push_back(static_cast<std::byte>(bits));
            charactersInGroup = 0;
        }
    }
    const bool endsRight = charactersInGroup == 0
                               ? padding == 0
                               : charactersInGroup >= 2 && charactersInGroup + padding == 4;
    if (!endsRight)
        return std::nullopt;
    if (charactersInGroup >= 2)
        bytes.push_back(static_cast<std::byte>(bits >> (charactersInGroup == 2 ? 4 : 10)));
    if (charactersInGroup == 3)
        bytes.push_back(static_cast<std::byte>(bits >> 2));
    return bytes;
}

void appendBase64Lines(std::string& text, std::span<const std::byte> bytes,
                       std::string_view indentation, std::size_t bytesPerLine) {
    while (!bytes.empty()) {
        std::span<const std::byte> line = bytes.first(std::min(bytesPerLine, bytes.size()));
        bytes = bytes.subspan(line.size());
        text.append(indentation);
        while (!line.empty()) {
            const std::size_t count = std::min<std::size_t>(3, line.size());
            appendGroup(text, line.first(count));
            line = line.subspan(count);
        }
        text.push_back('\n');
    }
}

}  // namespace TWQuickTime
