// Any bytes as an atom container: walked, searched, edited and walked again.
//
// Properties: nothing is read outside the bytes, every walk ends, an edit that succeeds on a
// container whose whole tree was sound leaves a sound tree, and one that fails changes nothing.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "Engines/atomcontainer/AtomContainerEditor.h"
#include "Engines/atomcontainer/AtomContainerReader.h"
#include "FuzzProperty.h"

using namespace TWQuickTime::atomcontainer;

namespace {

struct Walk {
    bool sound = true;
    bool tooDeep = false;  ///< not all of it was looked at
    std::size_t atoms = 0;
    std::vector<Atom> some;
};

void walk(const AtomContainerReader& reader, const Atom& parent, int depth, Walk& result) {
    if (depth > 200) {
        result.tooDeep = true;
        return;
    }
    std::size_t children = 0;
    Lookup child = reader.nextChild(parent, nullptr);
    for (; child; child = reader.nextChild(parent, &child.atom), ++children) {
        ++result.atoms;
        if (result.some.size() < 64)
            result.some.push_back(child.atom);
        (void)reader.data(child.atom);
        walk(reader, child.atom, depth + 1, result);
    }
    if (child.fault != Fault::notFound || children != parent.childCount)
        result.sound = false;
}

Walk walkAll(std::span<const std::byte> bytes) {
    Walk result;
    const AtomContainerReader reader(bytes);
    const Lookup root = reader.atom(kRoot);
    if (!root)
        result.sound = false;
    else
        walk(reader, root.atom, 0, result);
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The last eight bytes choose the edits, the others are the container.
    if (size < 8)
        return 0;
    const std::uint8_t* choice = data + size - 8;
    const auto* first = reinterpret_cast<const std::byte*>(data);
    VectorStore store(std::vector<std::byte>(first, first + size - 8));
    Walk before = walkAll(store.bytes());
    for (const Atom& atom : before.some) {
        const AtomContainerReader reader(store.bytes());
        (void)reader.findByID(atom.offset, atom.type, atom.id);
        (void)reader.findByIndex(kRoot, atom.type, 2);
        (void)reader.parentOf(atom.offset);
        (void)reader.parentOf(atom.offset + choice[0]);
        (void)reader.nextChild(kRoot, atom.offset + choice[1]);
    }
    AtomContainerEditor editor(store);
    for (int step = 0; step < 4; ++step) {
        Reference reference = kRoot;
        if (!before.some.empty())
            reference = before.some[choice[step] % before.some.size()].offset;
        if (choice[4 + step] & 0x80)
            reference += choice[step];
        const std::vector<std::byte> old(store.bytes().begin(), store.bytes().end());
        Fault fault = Fault::none;
        switch (choice[4 + step] & 7) {
            case 0:
            case 1:
                fault =
                    editor
                        .insertChild(reference, {choice[step], choice[step] % 5, choice[step] % 3},
                                     store.bytes().first(
                                         std::min<std::size_t>(choice[step], store.bytes().size())))
                        .fault;
                break;
            case 2:
                fault = editor.setData(reference, old);
                break;
            case 3:
                fault = editor.remove(reference);
                break;
            case 4:
                fault = editor.insertChildren(reference, old);
                break;
            case 5:
                fault = before.some.empty()
                            ? Fault::notFound
                            : editor.swapContents(reference, before.some.back().offset);
                break;
            case 6:
                fault = editor.setID(reference, choice[step]);
                break;
            default:
                fault = editor.removeChildren(reference);
                break;
        }
        const Walk after = walkAll(store.bytes());
        if (fault != Fault::none)
            FUZZ_PROPERTY(std::ranges::equal(old, store.bytes()));
        else
            FUZZ_PROPERTY(after.sound || after.tooDeep || !before.sound || before.tooDeep);
        before = after;
    }
    return 0;
}
