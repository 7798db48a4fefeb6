#include "Engines/moviefile/AtomWalker.h"

#include <cstdio>

namespace TWQuickTime::moviefile {

using result::Failure;
using result::FailureKind;

std::optional<AtomView> AtomWalker::next() {
    const std::size_t left = payload_.size() - position_;
    if (left < 8 || damaged())
        return std::nullopt;
    const std::byte* header = payload_.data() + position_;
    std::uint64_t size = loadBigEndian<std::uint32_t>(header);
    const auto type = loadBigEndian<std::uint32_t>(header + 4);
    std::size_t headerSize = 8;
    if (size == 0)
        return std::nullopt;
    if (size == 1 && left >= 16) {
        size = loadBigEndian<std::uint64_t>(header + 8);
        headerSize = 16;
    }
    if (size < headerSize || size > left) {
        missing_ = size < headerSize ? 8 : size - left;
        damagedType_ = type;
        return std::nullopt;
    }
    AtomView view{type, payload_.part(position_, static_cast<std::size_t>(size)), headerSize,
                  offset_ + position_};
    position_ += static_cast<std::size_t>(size);
    return view;
}

std::optional<AtomView> findChild(const AtomView& parent, FourCharCode type) {
    AtomWalker walker(parent.payload(), parent.payloadOffset());
    while (auto child = walker.next()) {
        if (child->type == type)
            return child;
    }
    return std::nullopt;
}

std::optional<AtomView> wholeAtom(const SharedBytes& bytes, std::uint64_t offset) {
    if (bytes.size() < 8)
        return std::nullopt;
    // An atom that runs to the end of its file has the size 0.
    if (loadBigEndian<std::uint32_t>(bytes.data()) == 0)
        return AtomView{loadBigEndian<std::uint32_t>(bytes.data() + 4), bytes, 8, offset};
    AtomWalker walker(bytes, offset);
    auto atom = walker.next();
    if (!atom || atom->bytes.size() != bytes.size())
        return std::nullopt;
    return atom;
}

std::string AtomPlace::path() const {
    std::string text = parent ? parent->path() + "/" : std::string();
    text += timeline::textOf(type);
    if (number != 0)
        text += "[" + std::to_string(number) + "]";
    return text;
}

Failure damagedAt(const AtomPlace& place, std::uint64_t offset, const std::string& what) {
    char position[32];
    std::snprintf(position, sizeof position,
                  " @ 0x%llx: ", static_cast<unsigned long long>(offset));
    return {FailureKind::damaged, place.path() + position + what};
}

Failure damagedChild(const AtomPlace& parent, const AtomWalker& walker) {
    const AtomPlace place{&parent, walker.damagedType()};
    return damagedAt(place, walker.currentOffset(),
                     std::to_string(walker.missingBytes()) + " bytes missing");
}

Failure missingBytesAt(const AtomPlace& place, std::uint64_t offset, std::uint64_t missing,
                       const char* field) {
    return damagedAt(place, offset, std::to_string(missing) + " bytes missing (" + field + ")");
}

}  // namespace TWQuickTime::moviefile
