#include "Engines/moviefile/ClassicText.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <iterator>

#include "Engines/moviefile/MovieText.h"

namespace TWQuickTime::moviefile {
namespace {

constexpr std::uint8_t kRoman = kRomanScript, kJapanese = 1, kTraditionalChinese = 2, kKorean = 3,
                       kArabic = 4, kHebrew = 5, kGreek = 6, kCyrillic = 7, kDevanagari = 9,
                       kThai = 21, kSimplifiedChinese = 25, kCentralEuropean = 29, kIcelandic = 37,
                       kUkrainian = 152;

/// By classic language, from 0 on.
constexpr std::uint8_t kScripts[] = {kRoman,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kHebrew,
                                     kJapanese,
                                     kArabic,
                                     kRoman,
                                     kGreek,
                                     kIcelandic,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kTraditionalChinese,
                                     kArabic,
                                     kDevanagari,
                                     kThai,
                                     kKorean,
                                     kCentralEuropean,
                                     kCentralEuropean,
                                     kCentralEuropean,
                                     kCentralEuropean,
                                     kCentralEuropean,
                                     kRoman,
                                     kIcelandic,
                                     kArabic,
                                     kCyrillic,
                                     kSimplifiedChinese,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kRoman,
                                     kCentralEuropean,
                                     kCentralEuropean,
                                     kRoman,
                                     kHebrew,
                                     kCyrillic,
                                     kCyrillic,
                                     kCyrillic,
                                     kUkrainian,
                                     kCyrillic};

/// The system's name of an encoding; null where it has no table.
const char* encodingOfScript(std::uint32_t script) {
    switch (script) {
        case kJapanese:
            return "CP932";
        case kTraditionalChinese:
            return "BIG5";
        case kKorean:
            return "EUC-KR";
        case kCyrillic:
            return "MAC-CYRILLIC";
        case kThai:
            return "TIS-620";
        case kSimplifiedChinese:
            return "EUC-CN";
        case kCentralEuropean:
            return "MAC-CENTRALEUROPE";
        case kIcelandic:
            return "MAC-IS";
        case kUkrainian:
            return "MAC-UK";
        default:
            return nullptr;
    }
}

constexpr std::string_view kReplacement = "\uFFFD";

/// What is the same in all of them: ASCII.
std::string plainLettersOf(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        if (static_cast<unsigned char>(byte) < 0x80) {
            text += byte;
        } else {
            text += kReplacement;
        }
    }
    return text;
}

/// An open conversion to UTF-8.
class Conversion {
  public:
    explicit Conversion(const char* encoding) : handle_(iconv_open("UTF-8", encoding)) {}
    ~Conversion() {
        if (isOpen()) {
            iconv_close(handle_);
        }
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    bool isOpen() const {
        return handle_ != reinterpret_cast<iconv_t>(-1);  // NOLINT(performance-no-int-to-ptr)
    }

    std::string convert(std::string_view bytes) {
        std::string text;
        std::string given(bytes);
        char* in = given.data();
        std::size_t left = given.size();
        while (left > 0) {
            std::array<char, 512> piece{};
            char* out = piece.data();
            std::size_t room = piece.size();
            const bool stopped = iconv(handle_, &in, &left, &out, &room) == std::size_t(-1);
            const int reason = errno;
            text.append(piece.data(), piece.size() - room);
            if (stopped && reason != E2BIG) {
                text += kReplacement;
                ++in;
                --left;
            }
        }
        return text;
    }

  private:
    iconv_t handle_;
};

}  // namespace

std::uint32_t scriptOfClassicLanguage(std::uint16_t language) {
    return language < std::size(kScripts) ? kScripts[language] : kRomanScript;
}

std::string fromClassicScript(std::string_view bytes, std::uint32_t script) {
    if (script == kRomanScript) {
        return fromClassicRoman(bytes);
    }
    if (const char* encoding = encodingOfScript(script)) {
        if (Conversion conversion(encoding); conversion.isOpen()) {
            return conversion.convert(bytes);
        }
    }
    return plainLettersOf(bytes);
}

}  // namespace TWQuickTime::moviefile
