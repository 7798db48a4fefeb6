#include "Private/UserDataList.h"

#include <algorithm>

#include "Private/BigEndianBytes.h"

namespace TWQuickTime {
namespace {

constexpr std::size_t kItemHeaderInBytes = 8;
constexpr std::size_t kTextHeaderInBytes = 4;

}  // namespace

bool readUserDataList(std::span<const std::byte> bytes, timeline::UserData& list) {
    timeline::UserData read;
    std::size_t offset = 0;
    while (bytes.size() - offset >= kItemHeaderInBytes) {
        const std::uint32_t size = readBigEndian32(bytes, offset);
        if (size == 0)
            break;
        if (size < kItemHeaderInBytes || size > bytes.size() - offset)
            return false;
        read.add(readBigEndian32(bytes, offset + 4),
                 timeline::SharedBytes::copyOf(
                     bytes.subspan(offset + kItemHeaderInBytes, size - kItemHeaderInBytes)));
        offset += size;
    }
    list.items.insert(list.items.end(), read.items.begin(), read.items.end());
    return true;
}

std::vector<std::byte> writeUserDataList(const timeline::UserData& list) {
    std::vector<std::byte> bytes;
    for (const timeline::UserDataItem& item : list.items) {
        appendBigEndian32(bytes, static_cast<std::uint32_t>(kItemHeaderInBytes + item.data.size()));
        appendBigEndian32(bytes, item.type);
        bytes.insert(bytes.end(), item.data.span().begin(), item.data.span().end());
    }
    return bytes;
}

bool readUserDataTexts(std::span<const std::byte> bytes, std::vector<UserDataText>& texts) {
    std::vector<UserDataText> read;
    std::size_t offset = 0;
    while (bytes.size() - offset >= kTextHeaderInBytes) {
        const std::uint16_t length = readBigEndian16(bytes, offset);
        const std::uint16_t language = readBigEndian16(bytes, offset + 2);
        offset += kTextHeaderInBytes;
        if (length > bytes.size() - offset)
            return false;
        const auto text = bytes.subspan(offset, length);
        read.push_back({language, {text.begin(), text.end()}});
        offset += length;
    }
    texts = std::move(read);
    return true;
}

std::vector<std::byte> writeUserDataTexts(const std::vector<UserDataText>& texts) {
    std::vector<std::byte> bytes;
    for (const UserDataText& text : texts) {
        appendBigEndian16(bytes, static_cast<std::uint16_t>(text.text.size()));
        appendBigEndian16(bytes, text.language);
        bytes.insert(bytes.end(), text.text.begin(), text.text.end());
    }
    return bytes;
}

void setTextOfLanguage(std::vector<UserDataText>& texts, std::int16_t language,
                       std::span<const std::byte> text) {
    const auto wanted = static_cast<std::uint16_t>(language);
    const auto found = std::find_if(texts.begin(), texts.end(), [&](const UserDataText& candidate) {
        return candidate.language == wanted;
    });
    if (found == texts.end())
        texts.push_back({wanted, {text.begin(), text.end()}});
    else
        found->text.assign(text.begin(), text.end());
}

const UserDataText* textOfLanguage(const std::vector<UserDataText>& texts, std::int16_t language) {
    for (const UserDataText& text : texts)
        if (text.language == static_cast<std::uint16_t>(language))
            return &text;
    return nullptr;
}

}  // namespace TWQuickTime
