// The bytes of user data lists and of their text items, as movie files store them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Engines/timeline/UserData.h"

namespace TWQuickTime {

/// Appends the items of a list {size, type, data}… that may end in a 32-bit 0. False, and nothing
/// appended, when an item claims more bytes than there are.
bool readUserDataList(std::span<const std::byte> bytes, timeline::UserData& list);
/// Without a terminator.
std::vector<std::byte> writeUserDataList(const timeline::UserData& list);

/// The text of one language in a text item.
struct UserDataText {
    std::uint16_t language = 0;
    std::vector<std::byte> text;
};

/// Reads the records {length, language, text} of an item; false when the bytes are none.
bool readUserDataTexts(std::span<const std::byte> bytes, std::vector<UserDataText>& texts);
std::vector<std::byte> writeUserDataTexts(const std::vector<UserDataText>& texts);

/// Replaces the text of a language, or adds it behind the others.
void setTextOfLanguage(std::vector<UserDataText>& texts, std::int16_t language,
                       std::span<const std::byte> text);
/// Null when there is none.
const UserDataText* textOfLanguage(const std::vector<UserDataText>& texts, std::int16_t language);

}  // namespace TWQuickTime
