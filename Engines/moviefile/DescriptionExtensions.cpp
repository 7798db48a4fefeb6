#include "Engines/moviefile/DescriptionExtensions.h"

#include <algorithm>

namespace TWQuickTime::moviefile {
namespace {

constexpr std::size_t wideHeaderSizeInBytes = 16;

}  // namespace

const SharedBytes* DescriptionExtensions::find(FourCharCode type) const {
    const auto found =
        std::find_if(list.begin(), list.end(),
                     [type](const DescriptionExtension& entry) { return entry.type == type; });
    return found == list.end() ? nullptr : &found->data;
}

void DescriptionExtensions::set(FourCharCode type, SharedBytes data) {
    for (DescriptionExtension& entry : list) {
        if (entry.type == type) {
            entry.data = std::move(data);
            return;
        }
    }
    list.push_back({type, std::move(data)});
}

void DescriptionExtensions::remove(FourCharCode type) {
    std::erase_if(list, [type](const DescriptionExtension& entry) { return entry.type == type; });
}

DescriptionExtensions readExtensions(const SharedBytes& bytes) {
    DescriptionExtensions extensions;
    AtomWalker walker(bytes, 0);
    while (const auto atom = walker.next())
        extensions.list.push_back(
            {atom->type, atom->payload(), atom->headerSizeInBytes == wideHeaderSizeInBytes});
    extensions.stray = walker.stray();
    return extensions;
}

void appendExtensions(std::vector<std::byte>& out, const DescriptionExtensions& extensions) {
    FieldWriter writer(out);
    for (const DescriptionExtension& entry : extensions.list) {
        if (entry.wideHeader) {
            writer.field("size", std::uint32_t{1});
            writer.field("type", entry.type);
            writer.field("wideSize", std::uint64_t{entry.data.size() + wideHeaderSizeInBytes});
        } else {
            writer.field("size", static_cast<std::uint32_t>(entry.data.size() + 8));
            writer.field("type", entry.type);
        }
        writer.remainder("data", entry.data);
    }
    writer.remainder("stray", extensions.stray);
}

}  // namespace TWQuickTime::moviefile
