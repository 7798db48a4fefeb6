// Decodes UTF-8 that may be ill formed: every maximal ill-formed sequence gives one U+FFFD, as the
// Unicode standard recommends (chapter 3, "U+FFFD Substitution of Maximal Subparts").
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace TWQuickTime::unicode {

inline constexpr char32_t replacementCharacter = 0xFFFD;

struct DecodedCharacter {
    char32_t codePoint = 0;
    std::size_t lengthInBytes = 0;
};

/// The character at the start of the text, which must not be empty.
DecodedCharacter decodeFirst(std::string_view utf8) noexcept;

void appendUTF8(std::string& to, char32_t codePoint);
void appendUTF16(std::u16string& to, char32_t codePoint);

std::u16string utf16FromUTF8(std::string_view utf8);
/// Surrogates without their partner become U+FFFD.
std::string utf8FromUTF16(std::u16string_view units);
std::u32string codePointsFromUTF8(std::string_view utf8);

}  // namespace TWQuickTime::unicode
