#include "Engines/moviefile/Metadata.h"

#include "Engines/moviefile/Origins.h"

namespace TWQuickTime::moviefile {
namespace {

constexpr FourCharCode kMetadata = fourCharCode("meta");
constexpr std::size_t kVersionWordInBytes = 4;
constexpr std::size_t kKeyHeadInBytes = 8;
constexpr std::size_t kValueHeadInBytes = 8;
constexpr std::size_t kGreatestItemCount = 10'000;
constexpr std::uint32_t kUtf8 = 1;
constexpr std::uint32_t kUtf16 = 2;

/// The children's place: QuickTime has them at once, ISO behind a word of version and flags. The
/// handler that comes first tells.
AtomView withoutVersionWord(const AtomView& atom) {
    constexpr FourCharCode kHandler = fourCharCode("hdlr");
    const SharedBytes payload = atom.payload();
    const auto typeAt = [&payload](std::size_t offset) {
        return payload.size() >= offset + 4 ? loadBigEndian<std::uint32_t>(payload.data() + offset)
                                            : 0;
    };
    AtomView view = atom;
    if (typeAt(4) != kHandler && typeAt(8) == kHandler)
        view.headerSizeInBytes += kVersionWordInBytes;
    return view;
}

std::vector<std::string> readKeys(const AtomView& atom) {
    std::vector<std::string> keys;
    // Version and flags, the count, then atoms whose types are the keys' name spaces.
    AtomWalker walker(atom.payload().part(8), 0);
    while (const auto entry = walker.next()) {
        if (keys.size() == kGreatestItemCount)
            break;
        const SharedBytes text = entry->bytes.part(kKeyHeadInBytes);
        keys.emplace_back(reinterpret_cast<const char*>(text.data()), text.size());
    }
    return keys;
}

void appendUtf8(std::string& text, std::uint32_t code) {
    if (code < 0x80) {
        text.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        text.push_back(static_cast<char>(0xC0 | code >> 6));
        text.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        text.push_back(static_cast<char>(0xE0 | code >> 12));
        text.push_back(static_cast<char>(0x80 | (code >> 6 & 0x3F)));
        text.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        text.push_back(static_cast<char>(0xF0 | code >> 18));
        text.push_back(static_cast<char>(0x80 | (code >> 12 & 0x3F)));
        text.push_back(static_cast<char>(0x80 | (code >> 6 & 0x3F)));
        text.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

std::string fromUtf16(const SharedBytes& bytes) {
    constexpr std::uint32_t kReplacement = 0xFFFD;
    std::string text;
    for (std::size_t i = 0; i + 2 <= bytes.size(); i += 2) {
        std::uint32_t code = loadBigEndian<std::uint16_t>(bytes.data() + i);
        if (code >= 0xD800 && code < 0xDC00 && i + 4 <= bytes.size()) {
            const std::uint32_t low = loadBigEndian<std::uint16_t>(bytes.data() + i + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        appendUtf8(text, code >= 0xD800 && code < 0xE000 ? kReplacement : code);
    }
    return text;
}

}  // namespace

std::vector<MetadataItem> readMetadata(const AtomView& atom) {
    std::vector<MetadataItem> items;
    const AtomView view = withoutVersionWord(atom);
    const auto list = findChild(view, fourCharCode("ilst"));
    if (!list)
        return items;
    const auto keyList = findChild(view, fourCharCode("keys"));
    const std::vector<std::string> keys = keyList ? readKeys(*keyList) : std::vector<std::string>();
    AtomWalker walker(list->payload(), 0);
    while (const auto entry = walker.next()) {
        AtomWalker values(entry->payload(), 0);
        while (const auto value = values.next()) {
            const SharedBytes payload = value->payload();
            if (value->type != fourCharCode("data") || payload.size() < kValueHeadInBytes)
                continue;
            if (items.size() == kGreatestItemCount)
                return items;
            MetadataItem item;
            if (keyList && entry->type >= 1 && entry->type <= keys.size())
                item.key = keys[entry->type - 1];
            else
                item.type = entry->type;
            item.kind = loadBigEndian<std::uint32_t>(payload.data());
            item.locale = loadBigEndian<std::uint32_t>(payload.data() + 4);
            item.value = payload.part(kValueHeadInBytes);
            items.push_back(std::move(item));
        }
    }
    return items;
}

std::vector<MetadataItem> metadataOf(const timeline::Movie& movie) {
    std::vector<MetadataItem> items;
    const auto* origin = dynamic_cast<const MovieOrigin*>(movie.origin.get());
    if (!origin)
        return items;
    const auto collect = [&items](const AtomView& parent) {
        if (const auto atom = findChild(parent, kMetadata)) {
            const std::vector<MetadataItem> found = readMetadata(*atom);
            items.insert(items.end(), found.begin(), found.end());
        }
    };
    collect(origin->atom);
    if (const auto userData = findChild(origin->atom, fourCharCode("udta")))
        collect(*userData);
    return items;
}

std::optional<std::string> textOf(const MetadataItem& item) {
    if (item.kind == kUtf8)
        return std::string(reinterpret_cast<const char*>(item.value.data()), item.value.size());
    if (item.kind == kUtf16)
        return fromUtf16(item.value);
    return std::nullopt;
}

}  // namespace TWQuickTime::moviefile
