// The languages that the user's environment asks for, and how they match folders of translations.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace TWQuickTime {

/// The four variables that say which language messages have, as they are now; equal texts mean
/// equal languages.
std::string languageEnvironment();

/// Wanted languages, most wanted first, each followed by its less particular forms ("de-AT", "de").
/// LANGUAGE lists several; LC_ALL, LC_MESSAGES and LANG name one, the first that is set counts. The
/// locale "C" or "POSIX" means plain English, whatever LANGUAGE says, since programs ask for it to
/// get texts that they know. With nothing set the answer is English.
std::vector<std::string> userLanguages();

/// "de_AT" and "de-at" are the same language.
bool isSameLanguage(std::string_view a, std::string_view b);

}  // namespace TWQuickTime
