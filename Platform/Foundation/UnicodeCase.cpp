#include "Private/UnicodeCase.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <array>

#include "Private/UTF8Decoder.h"

namespace TWQuickTime::unicode {
namespace {

// The C library's own Unicode tables, whatever locale the host has set.
struct CaseTables {
    locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    wctrans_t title = locale ? wctrans_l("totitle", locale) : wctrans_t();
};

const CaseTables& tables() {
    static const CaseTables theTables;
    return theTables;
}

struct SpecialCase {
    char32_t codePoint;
    const char* upper;
    const char* title;
};

// Letters whose upper-case form is longer than one character (SpecialCasing.txt of Unicode).
constexpr std::array specialCases = {
    SpecialCase{0x00DF, "SS", "Ss"},
    SpecialCase{0x0149, "ʼN", "ʼN"},
    SpecialCase{0x01F0, "J\xCC\x8C", "J\xCC\x8C"},
    SpecialCase{0x0587, "ԵՒ", "Եւ"},
    SpecialCase{0xFB00, "FF", "Ff"},
    SpecialCase{0xFB01, "FI", "Fi"},
    SpecialCase{0xFB02, "FL", "Fl"},
    SpecialCase{0xFB03, "FFI", "Ffi"},
    SpecialCase{0xFB04, "FFL", "Ffl"},
    SpecialCase{0xFB05, "ST", "St"},
    SpecialCase{0xFB06, "ST", "St"},
};

const SpecialCase* specialCaseOf(char32_t codePoint) {
    const auto found = std::ranges::find(specialCases, codePoint, &SpecialCase::codePoint);
    return found == specialCases.end() ? nullptr : &*found;
}

bool isASCII(char32_t codePoint) {
    return codePoint < 0x80;
}

char32_t simpleUppercase(char32_t codePoint) {
    if (isASCII(codePoint))
        return codePoint >= 'a' && codePoint <= 'z' ? codePoint - 0x20 : codePoint;
    return tables().locale ? towupper_l(static_cast<wint_t>(codePoint), tables().locale)
                           : codePoint;
}

char32_t simpleLowercase(char32_t codePoint) {
    if (isASCII(codePoint))
        return codePoint >= 'A' && codePoint <= 'Z' ? codePoint + 0x20 : codePoint;
    return tables().locale ? towlower_l(static_cast<wint_t>(codePoint), tables().locale)
                           : codePoint;
}

char32_t simpleTitlecase(char32_t codePoint) {
    if (isASCII(codePoint) || !tables().title)
        return simpleUppercase(codePoint);
    return towctrans_l(static_cast<wint_t>(codePoint), tables().title, tables().locale);
}

}  // namespace

void appendLowercase(std::string& utf8, char32_t codePoint) {
    constexpr char32_t capitalIWithDotAbove = 0x0130;
    if (codePoint == capitalIWithDotAbove)
        utf8 += "i\xCC\x87";
    else
        appendUTF8(utf8, simpleLowercase(codePoint));
}

void appendUppercase(std::string& utf8, char32_t codePoint) {
    if (const SpecialCase* special = specialCaseOf(codePoint))
        utf8 += special->upper;
    else
        appendUTF8(utf8, simpleUppercase(codePoint));
}

void appendTitlecase(std::string& utf8, char32_t codePoint) {
    if (const SpecialCase* special = specialCaseOf(codePoint))
        utf8 += special->title;
    else
        appendUTF8(utf8, simpleTitlecase(codePoint));
}

bool isLetter(char32_t codePoint) {
    if (isASCII(codePoint))
        return (codePoint | 0x20) >= 'a' && (codePoint | 0x20) <= 'z';
    return tables().locale && iswalpha_l(static_cast<wint_t>(codePoint), tables().locale);
}

bool continuesWord(char32_t codePoint) {
    const bool isApostrophe = codePoint == '\'' || codePoint == 0x2019;
    const bool isCombiningMark = (codePoint >= 0x0300 && codePoint <= 0x036F) ||
                                 (codePoint >= 0x1AB0 && codePoint <= 0x1AFF) ||
                                 (codePoint >= 0x1DC0 && codePoint <= 0x1DFF) ||
                                 (codePoint >= 0x20D0 && codePoint <= 0x20FF) ||
                                 (codePoint >= 0xFE20 && codePoint <= 0xFE2F);
    const bool isSoftHyphen = codePoint == 0x00AD;
    return isApostrophe || isCombiningMark || isSoftHyphen;
}

}  // namespace TWQuickTime::unicode
