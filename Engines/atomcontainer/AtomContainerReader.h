// Looks into an atom container whose bytes somebody else owns.
//
// Every header is checked against the container and, where one is known, against its parent, so
// that any bytes can be given. Nothing is allocated and nothing is remembered: a reader is as cheap
// as the span that it holds, and is to be made anew when the bytes moved or changed.
//
//     AtomContainerReader reader(settings);
//     if (Lookup video = reader.findByID(kRoot, 'vide', 1))
//         if (Lookup spatial = reader.findByID(video.atom.offset, 'sptl', 1))
//             use(reader.data(spatial.atom));
#pragma once

#include <span>

#include "Engines/atomcontainer/AtomContainer.h"

namespace TWQuickTime::atomcontainer {

class AtomContainerReader {
  public:
    explicit AtomContainerReader(std::span<const std::byte> bytes) noexcept;

    /// Whether the bytes hold a root atom (or nothing at all).
    Fault fault() const noexcept { return fault_; }

    /// The atom itself. Only its own header can be checked: a reference into the middle of data may
    /// be taken for an atom, but never for one that leaves the container.
    Lookup atom(Reference reference) const noexcept;
    /// The child after a given one (0: the first). notFound at the end.
    Lookup nextChild(Reference parent, Reference after) const noexcept;
    /// The next child after a known one, without looking at the parent again.
    Lookup nextChild(const Atom& parent, const Atom* after) const noexcept;
    Lookup findByID(Reference parent, AtomType type, std::int32_t id) const noexcept;
    /// @param index  counted from 1 among the children of that type
    Lookup findByIndex(Reference parent, AtomType type, std::int32_t index) const noexcept;
    /// The child's number among its parent's children of its type, from 1; 0 when it is none.
    std::int32_t indexOf(Reference parent, Reference child) const noexcept;
    /// @param count  set to 0 on any fault
    Fault countChildren(Reference parent, AtomType type, std::int32_t& count) const noexcept;
    /// Finds the way from the root, so that it also tells whether the reference names an atom.
    Lookup parentOf(Reference reference) const noexcept;
    /// A leaf's data; empty for an atom with children.
    std::span<const std::byte> data(const Atom& atom) const noexcept;

  private:
    Lookup root() const noexcept;
    Lookup header(std::size_t begin, std::size_t limit) const noexcept;

    std::span<const std::byte> bytes_;
    Fault fault_ = Fault::none;
};

}  // namespace TWQuickTime::atomcontainer
