// Changes an atom container in place, wherever its bytes are kept.
//
// Before anything is changed the way from the root to the place of the change is checked, and the
// storage is grown; so a change happens whole or, with a fault, not at all. A change shifts every
// later atom: references to those must be looked up again.
//
//     VectorStore settings;                                  // starts as an empty container
//     AtomContainerEditor editor(settings);
//     Lookup video = editor.insertChild(kRoot, {.type = 'vide', .id = 1}, {});
//     (void)editor.insertChild(video.atom.offset, {.type = 'sptl', .id = 1}, spatialBytes);
#pragma once

#include <span>
#include <vector>

#include "Engines/atomcontainer/AtomContainer.h"

namespace TWQuickTime::atomcontainer {

/// Bytes that can grow and shrink at their end.
class ByteStore {
  public:
    virtual ~ByteStore() = default;
    virtual std::span<std::byte> bytes() noexcept = 0;
    /// Keeps the leading bytes. False, and nothing changed, when it is not possible.
    virtual bool resize(std::size_t byteCount) noexcept = 0;
};

/// A container in a vector; made as an empty container or from bytes of any content.
class VectorStore final : public ByteStore {
  public:
    VectorStore();
    explicit VectorStore(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}
    std::span<std::byte> bytes() noexcept override { return bytes_; }
    std::span<const std::byte> bytes() const noexcept { return bytes_; }
    bool resize(std::size_t byteCount) noexcept override;
    std::vector<std::byte> takeBytes() { return std::move(bytes_); }

  private:
    std::vector<std::byte> bytes_;
};

/// Which atom to make, and where.
struct NewAtom {
    AtomType type = 0;
    std::int32_t id = 0;  ///< 0 asks for an unused one
    std::int32_t index =
        0;  ///< place among the children of its type, from 1; 0: after all children
};

class AtomContainerEditor {
  public:
    explicit AtomContainerEditor(ByteStore& store) : store_(store) {}

    /// @param data  may lie inside the container
    Lookup insertChild(Reference parent, const NewAtom& what, std::span<const std::byte> data);
    /// The same with data of so many zeros.
    Lookup insertZeros(Reference parent, const NewAtom& what, std::size_t byteCount);
    /// Appends all children of another container's root.
    Fault insertChildren(Reference parent, std::span<const std::byte> container);
    /// Replaces a leaf's data by data of any size; the reference stays valid.
    Fault setData(Reference reference, std::span<const std::byte> data);
    Fault setID(Reference reference, std::int32_t id);
    /// The atom with all its descendants; the root loses its children instead.
    Fault remove(Reference reference);
    Fault removeChildren(Reference reference);
    /// Gives an atom the contents (data or children) of another container's atom of the same type;
    /// its ID stays.
    Fault replaceContents(Reference reference, std::span<const std::byte> container,
                          Reference replacement);
    /// Exchanges the contents of two atoms of one type, neither inside the other; IDs stay.
    Fault swapContents(Reference first, Reference second);

  private:
    struct Place;
    Lookup insertBytes(Reference parent, const NewAtom& what, const std::byte* data,
                       std::size_t byteCount);
    Fault findPlace(const Atom& parent, const NewAtom& what, Place& place) const;
    Fault pathTo(Reference reference, std::vector<std::uint32_t>& begins, Atom& atom) const;
    Fault splice(const std::vector<std::uint32_t>& path, std::size_t at, std::size_t removed,
                 std::size_t inserted);
    Fault setContents(Reference reference, std::uint16_t childCount,
                      std::span<const std::byte> contents);

    ByteStore& store_;
};

}  // namespace TWQuickTime::atomcontainer
