#include "NSString.h"
#include "Private/UTF8Decoder.h"
#include "Private/UnicodeCase.h"

namespace TWQuickTime {
namespace {

/// A sigma is final when a letter stands before it and none behind it.
bool isFinalSigma(std::string_view rest, bool afterLetter) {
    if (!afterLetter)
        return false;
    while (!rest.empty()) {
        const unicode::DecodedCharacter next = unicode::decodeFirst(rest);
        if (!unicode::continuesWord(next.codePoint))
            return !unicode::isLetter(next.codePoint);
        rest.remove_prefix(next.lengthInBytes);
    }
    return true;
}

using AppendCharacter = void (*)(std::string&, char32_t);

/// Maps letter by letter: those that begin a word with one function, the others with another.
std::string mapWords(std::string_view text, AppendCharacter appendFirst,
                     AppendCharacter appendOther) {
    constexpr char32_t capitalSigma = 0x03A3, finalSigma = 0x03C2;
    std::string mapped;
    mapped.reserve(text.size());
    bool insideWord = false;
    while (!text.empty()) {
        const unicode::DecodedCharacter character = unicode::decodeFirst(text);
        text.remove_prefix(character.lengthInBytes);
        const AppendCharacter append = insideWord ? appendOther : appendFirst;
        if (character.codePoint == capitalSigma && append == unicode::appendLowercase &&
            isFinalSigma(text, insideWord))
            unicode::appendUTF8(mapped, finalSigma);
        else
            append(mapped, character.codePoint);
        if (!unicode::continuesWord(character.codePoint))
            insideWord = unicode::isLetter(character.codePoint);
    }
    return mapped;
}

}  // namespace

NSString NSString::lowercaseString() const {
    if (isNil())
        return nullptr;
    return NSString(mapWords(utf8(), unicode::appendLowercase, unicode::appendLowercase));
}

NSString NSString::uppercaseString() const {
    if (isNil())
        return nullptr;
    return NSString(mapWords(utf8(), unicode::appendUppercase, unicode::appendUppercase));
}

NSString NSString::capitalizedString() const {
    if (isNil())
        return nullptr;
    return NSString(mapWords(utf8(), unicode::appendTitlecase, unicode::appendLowercase));
}

}  // namespace TWQuickTime
