#include "Engines/atomcontainer/AtomContainerEditor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

#include "Engines/atomcontainer/AtomContainerReader.h"

namespace TWQuickTime::atomcontainer {
namespace {

/// A tree of atoms as plain objects, and its bytes made independently of the editor.
struct ModelAtom {
    AtomType type = 0;
    std::int32_t id = 0;
    std::string data;
    std::vector<std::unique_ptr<ModelAtom>> children;

    std::string bytes() const {
        std::string content = data;
        for (const auto& child : children)
            content += child->bytes();
        return number(static_cast<std::uint32_t>(content.size() + 20), 4) + number(type, 4) +
               number(static_cast<std::uint32_t>(id), 4) + number(0, 2) +
               number(static_cast<std::uint32_t>(children.size()), 2) + number(0, 4) + content;
    }
    static std::string number(std::uint32_t value, int width) {
        std::string text;
        for (int i = width - 1; i >= 0; --i)
            text.push_back(static_cast<char>(value >> (8 * i)));
        return text;
    }
    bool has(AtomType childType, std::int32_t childID) const {
        return std::any_of(children.begin(), children.end(), [&](const auto& child) {
            return child->type == childType && child->id == childID;
        });
    }
};

struct Model {
    ModelAtom root{.type = kRootType, .id = 1, .data = {}, .children = {}};

    std::string bytes() const { return std::string(12, '\0') + root.bytes(); }

    /// Every atom below the root with its reference and its parent.
    struct Entry {
        ModelAtom* atom;
        ModelAtom* parent;
        Reference reference;
    };
    std::vector<Entry> all() {
        std::vector<Entry> entries;
        collect(root, 32, entries);
        return entries;
    }
    static void collect(ModelAtom& parent, std::size_t at, std::vector<Entry>& entries) {
        for (const auto& child : parent.children) {
            entries.push_back({child.get(), &parent, static_cast<Reference>(at)});
            collect(*child, at + 20, entries);
            at += child->bytes().size();
        }
    }
};

std::string text(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::span<const std::byte> bytesOf(const std::string& data) {
    return std::as_bytes(std::span(data));
}

TEST(AtomContainerEditor, RandomEditsKeepTheBytesEqualToAnIndependentlyBuiltTree) {
    std::mt19937 random(20260101);
    const auto pick = [&](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    for (int round = 0; round < 30; ++round) {
        Model model;
        VectorStore store;
        AtomContainerEditor editor(store);
        for (int step = 0; step < 60; ++step) {
            auto atoms = model.all();
            const std::size_t operation = pick(10);
            if (operation < 5 || atoms.empty()) {
                const std::size_t where = pick(atoms.size() + 1);
                ModelAtom* parent = where == atoms.size() ? &model.root : atoms[where].atom;
                const Reference reference = where == atoms.size() ? kRoot : atoms[where].reference;
                const AtomType type = 0x61616100 + static_cast<AtomType>(pick(3));
                const auto id = static_cast<std::int32_t>(pick(6)) + 1;
                const std::string data(pick(2) ? 0 : pick(30), static_cast<char>('a' + step % 26));
                std::vector<std::size_t> ofType;
                for (std::size_t i = 0; i < parent->children.size(); ++i)
                    if (parent->children[i]->type == type)
                        ofType.push_back(i);
                const auto index = static_cast<std::int32_t>(pick(ofType.size() + 2));
                const Lookup made = editor.insertChild(reference, {type, id, index}, bytesOf(data));
                if (!parent->data.empty()) {
                    EXPECT_EQ(made.fault, Fault::hasData);
                } else if (parent->has(type, id)) {
                    EXPECT_EQ(made.fault, Fault::duplicate);
                } else {
                    ASSERT_EQ(made.fault, Fault::none);
                    const auto place = static_cast<std::size_t>(index) - 1;
                    const std::size_t before = index > 0 && place < ofType.size()
                                                   ? ofType[place]
                                                   : parent->children.size();
                    parent->children.insert(
                        parent->children.begin() + static_cast<std::ptrdiff_t>(before),
                        std::make_unique<ModelAtom>(
                            ModelAtom{.type = type, .id = id, .data = data, .children = {}}));
                }
            } else if (operation < 7) {
                const auto& entry = atoms[pick(atoms.size())];
                const std::string data(pick(40), static_cast<char>('A' + step % 26));
                const Fault fault = editor.setData(entry.reference, bytesOf(data));
                if (!entry.atom->children.empty()) {
                    EXPECT_EQ(fault, Fault::notLeaf);
                } else {
                    ASSERT_EQ(fault, Fault::none);
                    entry.atom->data = data;
                }
            } else if (operation < 8) {
                const auto& entry = atoms[pick(atoms.size())];
                ASSERT_EQ(editor.remove(entry.reference), Fault::none);
                std::erase_if(entry.parent->children,
                              [&](const auto& child) { return child.get() == entry.atom; });
            } else {
                const auto& first = atoms[pick(atoms.size())];
                const auto& second = atoms[pick(atoms.size())];
                const Fault fault = editor.swapContents(first.reference, second.reference);
                if (first.atom->type != second.atom->type) {
                    EXPECT_EQ(fault, Fault::differentTypes);
                } else if (fault == Fault::none) {
                    std::swap(first.atom->data, second.atom->data);
                    std::swap(first.atom->children, second.atom->children);
                }
            }
            ASSERT_EQ(text(store.bytes()), model.bytes()) << "round " << round << " step " << step;
        }
        const AtomContainerReader reader(store.bytes());
        for (const auto& entry : model.all()) {
            const Lookup parent = reader.parentOf(entry.reference);
            ASSERT_TRUE(parent);
            const Lookup found =
                reader.findByID(parent.atom.offset, entry.atom->type, entry.atom->id);
            ASSERT_TRUE(found);
            EXPECT_EQ(found.atom.offset, entry.reference);
            EXPECT_EQ(text(reader.data(found.atom)), entry.atom->data);
        }
    }
}

TEST(AtomContainerEditor, AParentTakesAsManyChildrenAsItsCountCanTell) {
    std::string content;
    for (std::uint32_t i = 1; i <= 65535; ++i)
        content +=
            ModelAtom{.type = 1, .id = static_cast<std::int32_t>(i), .data = {}, .children = {}}
                .bytes();
    VectorStore store;
    store.resize(32 + content.size());
    const std::string root = ModelAtom::number(static_cast<std::uint32_t>(20 + content.size()), 4) +
                             "sean" + ModelAtom::number(1, 4) + ModelAtom::number(65535, 4) +
                             ModelAtom::number(0, 4);
    const std::string whole = std::string(12, '\0') + root + content;
    std::copy_n(bytesOf(whole).begin(), whole.size(), store.bytes().begin());
    AtomContainerEditor editor(store);
    EXPECT_EQ(editor.insertChild(kRoot, {.type = 2, .id = 1}, {}).fault, Fault::tooLarge);
    EXPECT_EQ(editor.remove(32), Fault::none);
    EXPECT_EQ(editor.insertChild(kRoot, {.type = 2, .id = 1}, {}).fault, Fault::none);
}

class NarrowStore final : public ByteStore {
  public:
    explicit NarrowStore(std::size_t most) : most_(most) {}
    std::span<std::byte> bytes() noexcept override { return store_.bytes(); }
    bool resize(std::size_t count) noexcept override {
        return count <= most_ && store_.resize(count);
    }

  private:
    VectorStore store_;
    std::size_t most_;
};

TEST(AtomContainerEditor, AStoreThatCannotGrowLeavesTheContainerAsItWas) {
    NarrowStore store(60);
    AtomContainerEditor editor(store);
    const Lookup leaf = editor.insertChild(kRoot, {.type = 1, .id = 1}, bytesOf("12345678"));
    ASSERT_TRUE(leaf);
    const std::string before = text(store.bytes());
    EXPECT_EQ(editor.insertChild(kRoot, {.type = 1, .id = 2}, {}).fault, Fault::noMemory);
    EXPECT_EQ(editor.setData(leaf.atom.offset, bytesOf("123456789")), Fault::noMemory);
    EXPECT_EQ(text(store.bytes()), before);
}

TEST(AtomContainerReader, EveryShortenedContainerGivesAFaultOrLessButNeverReadsBeyondIt) {
    VectorStore store;
    AtomContainerEditor editor(store);
    const Lookup group = editor.insertChild(kRoot, {.type = 1, .id = 1}, {});
    ASSERT_TRUE(editor.insertChild(group.atom.offset, {.type = 2, .id = 1}, bytesOf("data")));
    const std::vector<std::byte> whole = store.takeBytes();
    for (std::size_t size = 1; size < whole.size(); ++size) {
        // A copy of exactly that size, so that the sanitizers see a read beyond its end.
        const std::vector<std::byte> part(whole.begin(),
                                          whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(AtomContainerReader(part).fault(), Fault::invalidContainer) << size;
        EXPECT_FALSE(AtomContainerReader(part).findByID(kRoot, 1, 1));
    }
}

TEST(AtomContainerReader, BytesBehindTheRootAreNotLookedAt) {
    VectorStore store;
    AtomContainerEditor editor(store);
    ASSERT_TRUE(editor.insertChild(kRoot, {.type = 1, .id = 1}, {}));
    store.resize(store.bytes().size() + 100);
    const AtomContainerReader reader(store.bytes());
    std::int32_t count = 0;
    EXPECT_EQ(reader.countChildren(kRoot, kAnyType, count), Fault::none);
    EXPECT_EQ(count, 1);
}

TEST(AtomContainerReader, ACountOfChildrenThatIsTooSmallOrTooLargeDoesNotMatter) {
    VectorStore store;
    AtomContainerEditor editor(store);
    ASSERT_TRUE(editor.insertChild(kRoot, {.type = 1, .id = 1}, {}));
    ASSERT_TRUE(editor.insertChild(kRoot, {.type = 1, .id = 2}, {}));
    for (const int claimed : {1, 2, 255}) {
        store.bytes()[27] = static_cast<std::byte>(claimed);
        std::int32_t count = 0;
        EXPECT_EQ(AtomContainerReader(store.bytes()).countChildren(kRoot, 1, count), Fault::none);
        EXPECT_EQ(count, 2);
    }
}

}  // namespace
}  // namespace TWQuickTime::atomcontainer
