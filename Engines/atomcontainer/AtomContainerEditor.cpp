#include "Engines/atomcontainer/AtomContainerEditor.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <unordered_set>

#include "Engines/atomcontainer/AtomContainerReader.h"
#include "Engines/atomcontainer/BigEndianField.h"

namespace TWQuickTime::atomcontainer {
namespace {

constexpr std::size_t kLargestContainer = std::numeric_limits<Reference>::max();

void writeHeader(std::byte* place, std::uint32_t size, AtomType type, std::int32_t id) {
    std::fill_n(place, kAtomHeaderSize, std::byte{0});
    storeField(place, size);
    storeField(place + 4, type);
    storeField(place + 8, static_cast<std::uint32_t>(id));
}

void setChildCount(std::byte* header, std::size_t count) {
    storeField(header + 14, static_cast<std::uint16_t>(count));
}

void addToSize(std::byte* header, std::int64_t delta) {
    storeField(header, static_cast<std::uint32_t>(loadField<std::uint32_t>(header) + delta));
}

bool liesInside(std::span<const std::byte> part, std::span<const std::byte> whole) {
    const auto address = reinterpret_cast<std::uintptr_t>(part.data());
    const auto start = reinterpret_cast<std::uintptr_t>(whole.data());
    return !part.empty() && address >= start && address < start + whole.size();
}

/// Bytes that stay what they are while the container that they may come from changes.
class StableBytes {
  public:
    StableBytes(std::span<const std::byte> bytes, std::span<const std::byte> container)
        : bytes_(bytes) {
        if (liesInside(bytes, container)) {
            copy_.assign(bytes.begin(), bytes.end());
            bytes_ = copy_;
        }
    }
    std::span<const std::byte> bytes() const { return bytes_; }

  private:
    std::vector<std::byte> copy_;
    std::span<const std::byte> bytes_;
};

}  // namespace

VectorStore::VectorStore() {
    const auto empty = emptyContainer();
    bytes_.assign(empty.begin(), empty.end());
}

bool VectorStore::resize(std::size_t byteCount) noexcept {
    try {
        bytes_.resize(byteCount);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        return false;
    }
}

struct AtomContainerEditor::Place {
    std::uint32_t at = 0;
    std::int32_t id = 0;
};

Fault AtomContainerEditor::pathTo(Reference reference, std::vector<std::uint32_t>& begins,
                                  Atom& atom) const {
    const AtomContainerReader reader(store_.bytes());
    Lookup current = reader.atom(kRoot);
    if (!current)
        return current.fault;
    if (store_.bytes().empty())
        return Fault::invalidContainer;
    if (reference != kRoot && reference < static_cast<Reference>(kEmptyContainerSize))
        return Fault::invalidAtom;
    begins.push_back(current.atom.begin);
    const auto target = static_cast<std::uint32_t>(reference);
    while (reference != kRoot && current.atom.begin != target) {
        Lookup child = reader.nextChild(current.atom, nullptr);
        while (child && child.atom.end() <= target)
            child = reader.nextChild(current.atom, &child.atom);
        if (!child || child.atom.begin > target)
            return Fault::invalidAtom;
        begins.push_back(child.atom.begin);
        current = child;
    }
    atom = current.atom;
    return Fault::none;
}

Fault AtomContainerEditor::splice(const std::vector<std::uint32_t>& path, std::size_t at,
                                  std::size_t removed, std::size_t inserted) {
    const std::size_t oldSize = store_.bytes().size();
    if (inserted > removed && inserted - removed > kLargestContainer - oldSize)
        return Fault::tooLarge;
    const std::size_t newSize = oldSize - removed + inserted;
    const std::size_t tail = oldSize - at - removed;
    if (newSize > oldSize && !store_.resize(newSize))
        return Fault::noMemory;
    std::byte* bytes = store_.bytes().data();
    std::memmove(bytes + at + inserted, bytes + at + removed, tail);
    if (newSize < oldSize && !store_.resize(newSize)) {
        std::memmove(bytes + at + removed, bytes + at + inserted, tail);
        return Fault::noMemory;
    }
    const auto delta = static_cast<std::int64_t>(inserted) - static_cast<std::int64_t>(removed);
    for (const std::uint32_t begin : path)
        addToSize(store_.bytes().data() + begin, delta);
    return Fault::none;
}

Fault AtomContainerEditor::findPlace(const Atom& parent, const NewAtom& what, Place& place) const {
    const AtomContainerReader reader(store_.bytes());
    place.at = parent.end();
    place.id = what.id;
    std::int32_t ofType = 0;
    std::int32_t largestID = 0;
    Lookup child = reader.nextChild(parent, nullptr);
    for (; child; child = reader.nextChild(parent, &child.atom)) {
        if (child.atom.type != what.type)
            continue;
        if (++ofType == what.index)
            place.at = child.atom.begin;
        if (what.id != 0 && child.atom.id == what.id)
            return Fault::duplicate;
        largestID = std::max(largestID, child.atom.id);
    }
    if (child.fault != Fault::notFound)
        return child.fault;
    if (what.index < 0 || what.index > ofType + 1)
        return Fault::badIndex;
    if (what.id != 0)
        return Fault::none;
    if (largestID < std::numeric_limits<std::int32_t>::max()) {
        place.id = largestID + 1;
        return Fault::none;
    }
    std::unordered_set<std::int32_t> taken;
    for (child = reader.nextChild(parent, nullptr); child;
         child = reader.nextChild(parent, &child.atom))
        if (child.atom.type == what.type)
            taken.insert(child.atom.id);
    place.id = 1;
    while (taken.contains(place.id))
        ++place.id;
    return Fault::none;
}

Lookup AtomContainerEditor::insertBytes(Reference parent, const NewAtom& what,
                                        const std::byte* data, std::size_t byteCount) {
    std::vector<std::uint32_t> path;
    Atom parentAtom;
    if (const Fault fault = pathTo(parent, path, parentAtom); fault != Fault::none)
        return {fault, {}};
    if (parentAtom.isLeaf() && parentAtom.size > kAtomHeaderSize)
        return {Fault::hasData, {}};
    if (parentAtom.childCount == std::numeric_limits<std::uint16_t>::max() ||
        byteCount > kLargestContainer - kAtomHeaderSize)
        return {Fault::tooLarge, {}};
    Place place;
    if (const Fault fault = findPlace(parentAtom, what, place); fault != Fault::none)
        return {fault, {}};
    const std::size_t size = kAtomHeaderSize + byteCount;
    if (const Fault fault = splice(path, place.at, 0, size); fault != Fault::none)
        return {fault, {}};
    std::byte* bytes = store_.bytes().data();
    writeHeader(bytes + place.at, static_cast<std::uint32_t>(size), what.type, place.id);
    std::byte* contents = bytes + place.at + kAtomHeaderSize;
    if (data)
        std::copy_n(data, byteCount, contents);
    else
        std::fill_n(contents, byteCount, std::byte{0});
    setChildCount(bytes + parentAtom.begin, parentAtom.childCount + std::size_t{1});
    return AtomContainerReader(store_.bytes()).atom(static_cast<Reference>(place.at));
}

Lookup AtomContainerEditor::insertChild(Reference parent, const NewAtom& what,
                                        std::span<const std::byte> data) {
    const StableBytes stable(data, store_.bytes());
    return insertBytes(parent, what, stable.bytes().data(), data.size());
}

Lookup AtomContainerEditor::insertZeros(Reference parent, const NewAtom& what,
                                        std::size_t byteCount) {
    return insertBytes(parent, what, nullptr, byteCount);
}

Fault AtomContainerEditor::insertChildren(Reference parent, std::span<const std::byte> container) {
    const StableBytes source(container, store_.bytes());
    const AtomContainerReader from(source.bytes());
    const Lookup root = from.atom(kRoot);
    if (!root)
        return root.fault;
    std::int32_t added = 0;
    if (const Fault fault = from.countChildren(kRoot, kAnyType, added); fault != Fault::none)
        return fault;
    std::vector<std::uint32_t> path;
    Atom parentAtom;
    if (const Fault fault = pathTo(parent, path, parentAtom); fault != Fault::none)
        return fault;
    if (added == 0)
        return Fault::none;
    if (parentAtom.isLeaf() && parentAtom.size > kAtomHeaderSize)
        return Fault::hasData;
    const AtomContainerReader here(store_.bytes());
    std::unordered_set<std::uint64_t> taken;
    const auto take = [&](const Atom& atom) {
        const std::uint64_t key = std::uint64_t{atom.type} << 32 | std::uint32_t(atom.id);
        return taken.insert(key).second;
    };
    std::int32_t present = 0;
    Lookup child = here.nextChild(parentAtom, nullptr);
    for (; child; child = here.nextChild(parentAtom, &child.atom), ++present)
        (void)take(child.atom);
    if (child.fault != Fault::notFound)
        return child.fault;
    for (child = from.nextChild(root.atom, nullptr); child;
         child = from.nextChild(root.atom, &child.atom))
        if (!take(child.atom))
            return Fault::duplicate;
    if (std::int64_t{present} + added > std::numeric_limits<std::uint16_t>::max())
        return Fault::tooLarge;
    const std::span<const std::byte> contents =
        source.bytes().subspan(root.atom.contentBegin(), root.atom.size - kAtomHeaderSize);
    const std::size_t at = parentAtom.end();
    if (const Fault fault = splice(path, at, 0, contents.size()); fault != Fault::none)
        return fault;
    std::byte* bytes = store_.bytes().data();
    std::copy(contents.begin(), contents.end(), bytes + at);
    setChildCount(bytes + parentAtom.begin, static_cast<std::size_t>(present + added));
    return Fault::none;
}

Fault AtomContainerEditor::setContents(Reference reference, std::uint16_t childCount,
                                       std::span<const std::byte> contents) {
    std::vector<std::uint32_t> path;
    Atom atom;
    if (const Fault fault = pathTo(reference, path, atom); fault != Fault::none)
        return fault;
    if (const Fault fault =
            splice(path, atom.contentBegin(), atom.size - kAtomHeaderSize, contents.size());
        fault != Fault::none)
        return fault;
    std::byte* bytes = store_.bytes().data();
    std::copy(contents.begin(), contents.end(), bytes + atom.contentBegin());
    setChildCount(bytes + atom.begin, childCount);
    return Fault::none;
}

Fault AtomContainerEditor::setData(Reference reference, std::span<const std::byte> data) {
    const Lookup found = AtomContainerReader(store_.bytes()).atom(reference);
    if (!found)
        return found.fault;
    if (!found.atom.isLeaf() || reference == kRoot)
        return Fault::notLeaf;
    const StableBytes stable(data, store_.bytes());
    return setContents(reference, 0, stable.bytes());
}

Fault AtomContainerEditor::setID(Reference reference, std::int32_t id) {
    const AtomContainerReader reader(store_.bytes());
    const Lookup parent = reader.parentOf(reference);
    if (!parent)
        return parent.fault;
    if (id == 0)
        return Fault::badArgument;
    const Lookup found = reader.atom(reference);
    const Lookup other = reader.findByID(parent.atom.offset, found.atom.type, id);
    if (other && other.atom.begin != found.atom.begin)
        return Fault::duplicate;
    storeField(store_.bytes().data() + found.atom.begin + 8, static_cast<std::uint32_t>(id));
    return Fault::none;
}

Fault AtomContainerEditor::remove(Reference reference) {
    if (reference == kRoot)
        return removeChildren(kRoot);
    std::vector<std::uint32_t> path;
    Atom atom;
    if (const Fault fault = pathTo(reference, path, atom); fault != Fault::none)
        return fault;
    path.pop_back();
    const std::uint32_t parent = path.back();
    if (const Fault fault = splice(path, atom.begin, atom.size, 0); fault != Fault::none)
        return fault;
    std::byte* header = store_.bytes().data() + parent;
    const auto children = loadField<std::uint16_t>(header + 14);
    const bool anyLeft = loadField<std::uint32_t>(header) > kAtomHeaderSize;
    // A count that was wrong before must not turn the remaining children into data.
    setChildCount(header, std::max<std::size_t>(children - std::size_t{1}, anyLeft ? 1 : 0));
    return Fault::none;
}

Fault AtomContainerEditor::removeChildren(Reference reference) {
    const Lookup found = AtomContainerReader(store_.bytes()).atom(reference);
    if (!found)
        return found.fault;
    if (found.atom.isLeaf())
        return found.atom.size > kAtomHeaderSize ? Fault::hasData : Fault::none;
    return setContents(reference, 0, {});
}

Fault AtomContainerEditor::replaceContents(Reference reference,
                                           std::span<const std::byte> container,
                                           Reference replacement) {
    const StableBytes source(container, store_.bytes());
    const AtomContainerReader from(source.bytes());
    const Lookup other = from.atom(replacement);
    const Lookup found = AtomContainerReader(store_.bytes()).atom(reference);
    if (!other || !found)
        return other ? found.fault : other.fault;
    if (source.bytes().empty())
        return Fault::invalidContainer;
    if (other.atom.type != found.atom.type)
        return Fault::differentTypes;
    return setContents(
        reference, other.atom.childCount,
        source.bytes().subspan(other.atom.contentBegin(), other.atom.size - kAtomHeaderSize));
}

Fault AtomContainerEditor::swapContents(Reference first, Reference second) {
    if (first > second)
        std::swap(first, second);
    std::vector<std::uint32_t> firstPath;
    std::vector<std::uint32_t> secondPath;
    Atom a;
    Atom b;
    if (const Fault fault = pathTo(first, firstPath, a); fault != Fault::none)
        return fault;
    if (const Fault fault = pathTo(second, secondPath, b); fault != Fault::none)
        return fault;
    if (a.type != b.type)
        return Fault::differentTypes;
    if (a.begin == b.begin)
        return Fault::none;
    if (b.begin < a.end())
        return Fault::invalidAtom;
    const std::span<std::byte> bytes = store_.bytes();
    const std::int64_t delta = std::int64_t{b.size} - a.size;
    for (const std::uint32_t begin : firstPath)
        addToSize(bytes.data() + begin, delta);
    for (const std::uint32_t begin : secondPath)
        addToSize(bytes.data() + begin, -delta);
    setChildCount(bytes.data() + a.begin, b.childCount);
    setChildCount(bytes.data() + b.begin, a.childCount);
    // The bytes from the first contents to the second's end keep their count: second contents, what
    // lies between, first contents.
    const auto from = bytes.begin() + a.contentBegin();
    const auto to = bytes.begin() + b.end();
    std::vector<std::byte> turned(bytes.begin() + b.contentBegin(), to);
    turned.insert(turned.end(), bytes.begin() + a.end(), bytes.begin() + b.contentBegin());
    turned.insert(turned.end(), from, bytes.begin() + a.end());
    std::copy(turned.begin(), turned.end(), from);
    return Fault::none;
}

}  // namespace TWQuickTime::atomcontainer
