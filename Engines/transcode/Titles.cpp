#include "Engines/transcode/Titles.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "Engines/codec/ByteOrder.h"
#include "Engines/moviefile/ClassicText.h"
#include "Engines/moviefile/Metadata.h"
#include "Engines/moviefile/MovieText.h"
#include "Engines/transcode/LanguageCode.h"

namespace TWQuickTime::transcode {

using codec::fourCode;

namespace {

constexpr std::uint32_t kCopyright = 0xA9637079;
constexpr std::uint32_t kListCopyright = fourCode("cprt");
/// Three packed letters, 'und'.
constexpr std::uint16_t kUndetermined = 0x55C4;
/// Languages from here on are packed letters; below, classic numbers.
constexpr std::uint16_t kFirstPackedLanguage = 0x400;
constexpr std::size_t kRecordHeadInBytes = 4;
constexpr std::uint32_t kUtf8Data = 1;

/// What the keys of text stand for.
constexpr std::pair<std::string_view, std::uint32_t> kKeys[] = {
    {"title", 0xA96E616D},        {"displayname", 0xA96E616D}, {"author", 0xA9617574},
    {"artist", 0xA9415254},       {"copyright", kCopyright},   {"comment", 0xA9636D74},
    {"album", 0xA9616C62},        {"genre", 0xA967656E},       {"description", 0xA9646573},
    {"creationdate", 0xA9646179}, {"software", 0xA9737772},    {"location.ISO6709", 0xA978797A},
};
constexpr std::string_view kKeyPrefix = "com.apple.quicktime.";

/// One language's text of an item, as it is stored.
struct TitleRecord {
    std::uint16_t language = 0;
    codec::Bytes bytes;
};

/// An item's records of length, language and bytes; the last may be cut.
std::vector<TitleRecord> recordsOf(codec::Bytes item) {
    std::vector<TitleRecord> records;
    while (item.size() >= kRecordHeadInBytes) {
        const std::size_t length =
            std::min<std::size_t>(codec::u16At(item, 0), item.size() - kRecordHeadInBytes);
        records.push_back({static_cast<std::uint16_t>(codec::u16At(item, 2)),
                           item.subspan(kRecordHeadInBytes, length)});
        item = item.subspan(kRecordHeadInBytes + length);
    }
    return records;
}

/// A number as language means the classic encoding of its script, letters mean Unicode. What is
/// said to be Unicode and cannot be is from a writer that did not know.
std::string textOf(const TitleRecord& record) {
    constexpr std::uint16_t kByteOrderMark = 0xFEFF;
    if (record.bytes.size() >= 2 && codec::u16At(record.bytes, 0) == kByteOrderMark) {
        return moviefile::fromUtf16(record.bytes.subspan(2));
    }
    const std::string text(reinterpret_cast<const char*>(record.bytes.data()), record.bytes.size());
    if (record.language < kFirstPackedLanguage) {
        return moviefile::fromClassicScript(text,
                                            moviefile::scriptOfClassicLanguage(record.language));
    }
    return moviefile::isUtf8(text) ? text : moviefile::fromClassicRoman(text);
}

void writeRecord(codec::ByteWriter& writer, const std::string& text, std::uint16_t language) {
    const std::size_t length = std::min<std::size_t>(text.size(), 0xFFFF);
    writer.u16(std::uint32_t(length)).u16(language);
    writer.raw(std::as_bytes(std::span(text.data(), length)));
}

/// The user data type for an item of a metadata list; 0 for none.
std::uint32_t typeOf(const moviefile::MetadataItem& item) {
    if (item.type == kListCopyright) {
        return kCopyright;
    }
    if (isTitle(item.type)) {
        return item.type;
    }
    if (!item.key.starts_with(kKeyPrefix)) {
        return 0;
    }
    const std::string_view name = std::string_view(item.key).substr(kKeyPrefix.size());
    const auto* known =
        std::ranges::find(kKeys, name, &std::pair<std::string_view, std::uint32_t>::first);
    return known == std::end(kKeys) ? 0 : known->second;
}

}  // namespace

bool isTitle(std::uint32_t type) {
    return type >> 24 == 0xA9;
}

std::vector<Title> titlesOf(const timeline::Movie& movie) {
    std::vector<Title> titles;
    const auto add = [&titles](std::uint32_t type, std::string text) {
        if (!text.empty() && std::ranges::find(titles, type, &Title::type) == titles.end()) {
            titles.push_back({type, std::move(text)});
        }
    };
    for (const timeline::UserDataItem& item : movie.userData.items) {
        if (isTitle(item.type)) {
            const std::vector<TitleRecord> records = recordsOf(item.data.span());
            add(item.type, records.empty() ? std::string() : textOf(records.front()));
        }
    }
    for (const moviefile::MetadataItem& item : moviefile::metadataOf(movie)) {
        const std::uint32_t type = typeOf(item);
        if (const auto text = moviefile::textOf(item); text && type != 0) {
            add(type, *text);
        }
    }
    return titles;
}

timeline::SharedBytes titleItem(const std::string& text) {
    codec::ByteWriter writer;
    writeRecord(writer, text, kUndetermined);
    return timeline::SharedBytes::adopt(writer.take());
}

timeline::SharedBytes unicodeTitleItem(const timeline::SharedBytes& item) {
    codec::ByteWriter writer;
    for (const TitleRecord& record : recordsOf(item.span())) {
        writeRecord(writer, textOf(record), packedLanguage(record.language));
    }
    return timeline::SharedBytes::adopt(writer.take());
}

timeline::SharedBytes metadataList(const std::vector<Title>& titles) {
    codec::ByteWriter writer;
    writer.u32(0);
    const std::size_t handler = writer.openAtom(fourCode("hdlr"));
    writer.u32(0).u32(0).u32(fourCode("mdir")).u32(fourCode("appl")).zeros(9).closeAtom(handler);
    const std::size_t list = writer.openAtom(fourCode("ilst"));
    for (const Title& title : titles) {
        const std::size_t item =
            writer.openAtom(title.type == kCopyright ? kListCopyright : title.type);
        const std::size_t data = writer.openAtom(fourCode("data"));
        writer.u32(kUtf8Data).u32(0).raw(std::as_bytes(std::span(title.text)));
        writer.closeAtom(data).closeAtom(item);
    }
    writer.closeAtom(list);
    return timeline::SharedBytes::adopt(writer.take());
}

}  // namespace TWQuickTime::transcode
