#include "Engines/transcode/Titles.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "Engines/codec/ByteOrder.h"
#include "Engines/moviefile/Metadata.h"

namespace TWQuickTime::transcode {

using codec::fourCode;

namespace {

constexpr std::uint32_t kCopyright = 0xA9637079;
constexpr std::uint32_t kListCopyright = fourCode("cprt");
/// Three packed letters, 'und'.
constexpr std::uint32_t kUndetermined = 0x55C4;
constexpr std::uint32_t kUtf8Data = 1;

/// What the keys of text stand for.
constexpr std::pair<std::string_view, std::uint32_t> kKeys[] = {
    {"title", 0xA96E616D},        {"displayname", 0xA96E616D}, {"author", 0xA9617574},
    {"artist", 0xA9415254},       {"copyright", kCopyright},   {"comment", 0xA9636D74},
    {"album", 0xA9616C62},        {"genre", 0xA967656E},       {"description", 0xA9646573},
    {"creationdate", 0xA9646179}, {"software", 0xA9737772},    {"location.ISO6709", 0xA978797A},
};
constexpr std::string_view kKeyPrefix = "com.apple.quicktime.";

/// The first of an item's records of length, language and bytes.
std::string textOfItem(codec::Bytes bytes) {
    if (bytes.size() < 4) {
        return {};
    }
    const std::size_t length = std::min<std::size_t>(codec::u16At(bytes, 0), bytes.size() - 4);
    return {reinterpret_cast<const char*>(bytes.data()) + 4, length};
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
            add(item.type, textOfItem(item.data.span()));
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
    const std::size_t length = std::min<std::size_t>(text.size(), 0xFFFF);
    codec::ByteWriter writer;
    writer.u16(std::uint32_t(length)).u16(kUndetermined);
    writer.raw(std::as_bytes(std::span(text.data(), length)));
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
