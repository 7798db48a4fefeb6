#include "Private/UserLanguages.h"

#include <algorithm>
#include <cstdlib>

namespace TWQuickTime {
namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

/// The locale that decides the language of messages; "" when none is set.
std::string_view messageLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const std::string_view value = environment(name);
        if (!value.empty())
            return value;
    }
    return {};
}

char normalized(char character) {
    if (character >= 'A' && character <= 'Z')
        return static_cast<char>(character | 0x20);
    return character == '_' ? '-' : character;
}

/// "de_AT.UTF-8@euro" gives "de-AT", then "de".
void addLanguage(std::vector<std::string>& languages, std::string_view locale) {
    std::string language(locale.substr(0, locale.find_first_of(".@")));
    if (language == "C" || language == "POSIX")
        language = "en";
    std::ranges::replace(language, '_', '-');
    while (!language.empty()) {
        if (std::ranges::find(languages, language) == languages.end())
            languages.push_back(language);
        const std::size_t region = language.rfind('-');
        language.resize(region == std::string::npos ? 0 : region);
    }
}

}  // namespace

std::string languageEnvironment() {
    std::string all(environment("LANGUAGE"));
    return all.append("\n").append(messageLocale());
}

std::vector<std::string> userLanguages() {
    std::vector<std::string> languages;
    const std::string_view locale = messageLocale();
    const std::string_view plainLocale = locale.substr(0, locale.find_first_of(".@"));
    if (plainLocale != "C" && plainLocale != "POSIX") {
        std::string_view list = environment("LANGUAGE");
        while (!list.empty()) {
            const std::size_t length = std::min(list.find(':'), list.size());
            addLanguage(languages, list.substr(0, length));
            list.remove_prefix(std::min(length + 1, list.size()));
        }
    }
    addLanguage(languages, locale);
    if (languages.empty())
        languages.emplace_back("en");
    return languages;
}

bool isSameLanguage(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, normalized, normalized);
}

}  // namespace TWQuickTime
