#include <algorithm>
#include <cstring>

#include "Private/DataReferencePath.h"

namespace TWQuickTime {
namespace {

constexpr std::size_t kFixedSize = 150;
constexpr std::size_t kVolumeNameAt = 10;
constexpr std::size_t kVolumeNameField = 28;
constexpr std::size_t kFileNameAt = 50;
constexpr std::size_t kFileNameField = 64;
constexpr std::uint16_t kColonPathItem = 2;
constexpr std::uint16_t kPosixPathItem = 18;
constexpr std::uint16_t kMountPointItem = 19;
constexpr std::uint16_t kEndItem = 0xFFFF;

void put16(std::vector<std::byte>& record, std::size_t at, std::size_t value) {
    record[at] = static_cast<std::byte>(value >> 8);
    record[at + 1] = static_cast<std::byte>(value);
}

std::uint16_t get16(std::span<const std::byte> record, std::size_t at) {
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(record[at]) << 8 |
                                      std::to_integer<unsigned>(record[at + 1]));
}

/// Writes as much of the text as the field takes, whole characters only.
void putPascalString(std::vector<std::byte>& record, std::size_t at, std::size_t field,
                     const std::string& text) {
    std::size_t count = std::min(text.size(), field - 1);
    while (count < text.size() && count > 0 &&
           (static_cast<unsigned char>(text[count]) & 0xC0) == 0x80)
        --count;
    record[at] = static_cast<std::byte>(count);
    std::memcpy(record.data() + at + 1, text.data(), count);
}

void putItem(std::vector<std::byte>& record, std::uint16_t tag, const std::string& content) {
    const std::size_t at = record.size();
    record.resize(at + 4 + content.size() + content.size() % 2);
    put16(record, at, tag);
    put16(record, at + 2, content.size());
    std::memcpy(record.data() + at + 4, content.data(), content.size());
}

std::string withoutTrailingZeros(std::string text) {
    while (!text.empty() && text.back() == '\0')
        text.pop_back();
    return text;
}

/// "Volume:folder:file" as "/folder/file"; a slash in a name is what a colon is there.
std::string fromColonPath(const std::string& path) {
    const std::size_t colon = path.find(':');
    if (colon == std::string::npos)
        return {};
    std::string result = path.substr(colon);
    for (char& c : result)
        c = c == ':' ? '/' : c == '/' ? ':' : c;
    return result;
}

}  // namespace

std::vector<std::byte> makeAliasRecord(const std::string& absolutePath) {
    std::vector<std::byte> record(kFixedSize);
    const std::string name = absolutePath.substr(absolutePath.rfind('/') + 1);
    put16(record, 6, 2);  // version; the kind after it stays 0, a file
    putPascalString(record, kVolumeNameAt, kVolumeNameField, "/");
    put16(record, 42, 'H' << 8 | '+');  // file system
    putPascalString(record, kFileNameAt, kFileNameField, name);
    put16(record, 130, 0xFFFF);  // levels up from the alias and down to the target: unknown
    put16(record, 132, 0xFFFF);
    putItem(record, kPosixPathItem, absolutePath);
    putItem(record, kMountPointItem, "/");
    putItem(record, kEndItem, "");
    put16(record, 4, record.size());
    return record;
}

std::string aliasRecordPath(std::span<const std::byte> record) {
    if (record.size() < kFixedSize)
        return {};
    std::string posixPath;
    std::string colonPath;
    for (std::size_t at = kFixedSize; record.size() - at >= 4;) {
        const std::uint16_t tag = get16(record, at);
        const std::size_t length = get16(record, at + 2);
        at += 4;
        if (tag == kEndItem || length > record.size() - at)
            break;
        const std::string content(reinterpret_cast<const char*>(record.data() + at), length);
        if (tag == kPosixPathItem)
            posixPath = withoutTrailingZeros(content);
        else if (tag == kColonPathItem)
            colonPath = fromColonPath(withoutTrailingZeros(content));
        at += std::min(length + length % 2, record.size() - at);
    }
    const std::string path = posixPath.empty() ? colonPath : posixPath;
    if (path.empty() || path.find('\0') != std::string::npos)
        return {};
    // Paths are stored from the mount point on, with or without the slash.
    return path.front() == '/' ? path : "/" + path;
}

}  // namespace TWQuickTime
