#include "Engines/transcode/LanguageCode.h"

#include <algorithm>
#include <iterator>

namespace TWQuickTime::transcode {

namespace {

constexpr std::uint16_t kFirstPacked = 0x400;
constexpr std::uint16_t kUnspecified = 0x7FFF;
constexpr std::uint16_t kUndetermined = 0x55C4;

/// By classic code, from 0 on.
constexpr const char* kClassic[] = {
    "eng", "fra", "deu", "ita", "nld", "swe", "spa", "dan", "por", "nor", "heb", "jpn",
    "ara", "fin", "ell", "isl", "mlt", "tur", "hrv", "zho", "urd", "hin", "tha", "kor",
    "lit", "pol", "hun", "est", "lav", "sme", "fao", "fas", "rus", "zho", "nld", "gle",
    "sqi", "ron", "ces", "slk", "slv", "yid", "srp", "mkd", "bul", "ukr", "bel"};

}  // namespace

std::uint16_t packedLanguage(std::uint16_t code) {
    if (code >= kFirstPacked) {
        return code == kUnspecified ? kUndetermined : code;
    }
    if (code >= std::size(kClassic)) {
        return kUndetermined;
    }
    const char* letters = kClassic[code];
    return static_cast<std::uint16_t>((letters[0] - 0x60) << 10 | (letters[1] - 0x60) << 5 |
                                      (letters[2] - 0x60));
}

std::string languageLetters(std::uint16_t code) {
    const std::uint16_t packed = packedLanguage(code);
    std::string letters;
    for (const int shift : {10, 5, 0}) {
        letters += static_cast<char>((packed >> shift & 31) + 0x60);
    }
    const bool plain = std::ranges::all_of(letters, [](char c) { return c >= 'a' && c <= 'z'; });
    return packed != kUndetermined && plain ? letters : std::string();
}

}  // namespace TWQuickTime::transcode
