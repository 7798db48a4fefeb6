// Letter case of single Unicode characters, independent of the process's locale.
#pragma once

#include <string>

namespace TWQuickTime::unicode {

// Each appends the character's full mapping, which can be more than one character ("ß" → "SS").
void appendLowercase(std::string& utf8, char32_t codePoint);
void appendUppercase(std::string& utf8, char32_t codePoint);
void appendTitlecase(std::string& utf8, char32_t codePoint);

bool isLetter(char32_t codePoint);
/// Apostrophes and marks that belong to the letter before them: they neither begin nor end a word.
bool continuesWord(char32_t codePoint);

}  // namespace TWQuickTime::unicode
