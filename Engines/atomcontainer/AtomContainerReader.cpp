#include "Engines/atomcontainer/AtomContainerReader.h"

#include <limits>

#include "Engines/atomcontainer/BigEndianField.h"

namespace TWQuickTime::atomcontainer {

AtomContainerReader::AtomContainerReader(std::span<const std::byte> bytes) noexcept
    : bytes_(bytes) {
    if (bytes_.empty())
        return;
    const bool sizeFits = bytes_.size() >= kEmptyContainerSize &&
                          bytes_.size() <= std::numeric_limits<Reference>::max();
    const Lookup found = sizeFits ? header(kContainerHeaderSize, bytes_.size()) : Lookup{};
    if (!sizeFits || !found || found.atom.type != kRootType)
        fault_ = Fault::invalidContainer;
}

Lookup AtomContainerReader::header(std::size_t begin, std::size_t limit) const noexcept {
    if (begin > limit || limit - begin < kAtomHeaderSize)
        return {Fault::invalidAtom, {}};
    const std::byte* place = bytes_.data() + begin;
    Atom atom;
    atom.begin = static_cast<std::uint32_t>(begin);
    atom.offset = static_cast<Reference>(begin);
    atom.size = loadField<std::uint32_t>(place);
    if (atom.size < kAtomHeaderSize || atom.size > limit - begin)
        return {Fault::invalidAtom, {}};
    atom.type = loadField<std::uint32_t>(place + 4);
    atom.id = static_cast<std::int32_t>(loadField<std::uint32_t>(place + 8));
    atom.childCount = loadField<std::uint16_t>(place + 14);
    return {Fault::none, atom};
}

Lookup AtomContainerReader::root() const noexcept {
    if (fault_ != Fault::none)
        return {fault_, {}};
    if (bytes_.empty()) {
        Atom nothing;
        nothing.size = kAtomHeaderSize;
        nothing.type = kRootType;
        nothing.id = 1;
        return {Fault::none, nothing};
    }
    Lookup found = header(kContainerHeaderSize, bytes_.size());
    found.atom.offset = kRoot;
    return found;
}

Lookup AtomContainerReader::atom(Reference reference) const noexcept {
    const Lookup top = root();
    if (!top || reference == kRoot)
        return top;
    if (reference < static_cast<Reference>(kEmptyContainerSize) || top.atom.isLeaf())
        return {Fault::invalidAtom, {}};
    return header(static_cast<std::size_t>(reference), top.atom.end());
}

Lookup AtomContainerReader::nextChild(const Atom& parent, const Atom* after) const noexcept {
    if (parent.isLeaf())
        return {after ? Fault::invalidAtom : Fault::notFound, {}};
    const std::uint32_t begin = after ? after->end() : parent.contentBegin();
    if (begin == parent.end())
        return {Fault::notFound, {}};
    return header(begin, parent.end());
}

Lookup AtomContainerReader::nextChild(Reference parent, Reference after) const noexcept {
    const Lookup found = atom(parent);
    if (!found)
        return found;
    if (after == 0)
        return nextChild(found.atom, nullptr);
    if (found.atom.isLeaf() || after < 0 ||
        static_cast<std::uint32_t>(after) < found.atom.contentBegin())
        return {Fault::invalidAtom, {}};
    const Lookup current = header(static_cast<std::size_t>(after), found.atom.end());
    return current ? nextChild(found.atom, &current.atom) : current;
}

Lookup AtomContainerReader::findByID(Reference parent, AtomType type,
                                     std::int32_t id) const noexcept {
    const Lookup top = atom(parent);
    if (!top)
        return top;
    Lookup child = nextChild(top.atom, nullptr);
    while (child && (child.atom.type != type || child.atom.id != id))
        child = nextChild(top.atom, &child.atom);
    return child;
}

Lookup AtomContainerReader::findByIndex(Reference parent, AtomType type,
                                        std::int32_t index) const noexcept {
    const Lookup top = atom(parent);
    if (!top)
        return top;
    if (index < 1)
        return {Fault::badIndex, {}};
    Lookup child = nextChild(top.atom, nullptr);
    for (; child; child = nextChild(top.atom, &child.atom))
        if ((type == kAnyType || child.atom.type == type) && --index == 0)
            return child;
    return child;
}

std::int32_t AtomContainerReader::indexOf(Reference parent, Reference child) const noexcept {
    const Lookup top = atom(parent);
    const Lookup wanted = atom(child);
    if (!top || !wanted)
        return 0;
    std::int32_t index = 0;
    for (Lookup sibling = nextChild(top.atom, nullptr); sibling;
         sibling = nextChild(top.atom, &sibling.atom)) {
        if (sibling.atom.type == wanted.atom.type)
            ++index;
        if (sibling.atom.begin == wanted.atom.begin)
            return index;
    }
    return 0;
}

Fault AtomContainerReader::countChildren(Reference parent, AtomType type,
                                         std::int32_t& count) const noexcept {
    count = 0;
    const Lookup top = atom(parent);
    if (!top)
        return top.fault;
    std::int32_t found = 0;
    Lookup child = nextChild(top.atom, nullptr);
    for (; child; child = nextChild(top.atom, &child.atom))
        if (type == kAnyType || child.atom.type == type)
            ++found;
    if (child.fault != Fault::notFound)
        return child.fault;
    count = found;
    return Fault::none;
}

Lookup AtomContainerReader::parentOf(Reference reference) const noexcept {
    Lookup parent = root();
    if (!parent)
        return parent;
    if (reference < static_cast<Reference>(kEmptyContainerSize))
        return {Fault::invalidAtom, {}};
    const auto target = static_cast<std::uint32_t>(reference);
    while (true) {
        Lookup child = nextChild(parent.atom, nullptr);
        while (child && child.atom.end() <= target)
            child = nextChild(parent.atom, &child.atom);
        if (!child || child.atom.begin > target)
            return {Fault::invalidAtom, {}};
        if (child.atom.begin == target)
            return parent;
        parent = child;
    }
}

std::span<const std::byte> AtomContainerReader::data(const Atom& atom) const noexcept {
    if (!atom.isLeaf() || atom.end() > bytes_.size() || atom.size < kAtomHeaderSize)
        return {};
    return bytes_.subspan(atom.contentBegin(), atom.size - kAtomHeaderSize);
}

}  // namespace TWQuickTime::atomcontainer
