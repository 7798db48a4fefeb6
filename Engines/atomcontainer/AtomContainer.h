// What an atom container consists of, and how a look at one can fail.
//
// The flat bytes: a 12-byte header (10 reserved, a 16-bit lock count), then one root atom 'sean' of
// ID 1. An atom is a 20-byte header (size with header and descendants, type, ID, reserved 16 bits,
// child count 16 bits, reserved 32 bits) followed by its children or by its data; all numbers are
// big-endian. An atom is referred to by its byte offset in the container, the root by 0, so that
// references come in stored order and stay valid while nothing is inserted before them. No bytes at
// all stand for a container without children.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Engines/result/Result.h"

namespace TWQuickTime::atomcontainer {

/// Byte offset of an atom; 0 is the root.
using Reference = std::int32_t;
/// Four-character code; any 32-bit value may occur.
using AtomType = std::uint32_t;

inline constexpr Reference kRoot = 0;
inline constexpr std::size_t kContainerHeaderSize = 12;
inline constexpr std::size_t kLockCountOffset = 10;
inline constexpr std::size_t kAtomHeaderSize = 20;
inline constexpr std::size_t kEmptyContainerSize = kContainerHeaderSize + kAtomHeaderSize;
inline constexpr AtomType kRootType = 0x7365616E;  // 'sean'
/// Counts and finds atoms of every type where a type is asked for.
inline constexpr AtomType kAnyType = 0;

/// Why something could not be done. A plain value, so that looking allocates nothing.
enum class [[nodiscard]] Fault{
    none,
    invalidContainer,  ///< the bytes are no container
    invalidAtom,       ///< the reference names no atom, or an atom leaves its parent
    notFound,          ///< no such atom
    notLeaf,           ///< the atom has children where data are wanted
    hasData,           ///< the atom has data where children are wanted
    badIndex,          ///< counted from 1 to one more than there are
    duplicate,         ///< another child has that type and ID
    differentTypes,    ///< both atoms must be of one type
    badArgument,       ///< the caller's mistake
    tooLarge,          ///< sizes and counts would leave their fields
    noMemory,          ///< the storage could not grow
};

/// The fault as other engines pass failures on.
result::Failure failureFor(Fault fault);

/// One atom's header, checked against its surroundings.
struct Atom {
    Reference offset = 0;     ///< 0 for the root
    std::uint32_t begin = 0;  ///< where its header really lies, also for the root
    std::uint32_t size = 0;   ///< header and everything in it
    AtomType type = 0;
    std::int32_t id = 0;
    std::uint16_t childCount = 0;

    std::uint32_t contentBegin() const { return begin + std::uint32_t{kAtomHeaderSize}; }
    std::uint32_t end() const { return begin + size; }
    bool isLeaf() const { return childCount == 0; }
};

/// An atom or the reason why there is none.
struct [[nodiscard]] Lookup {
    Fault fault = Fault::none;
    Atom atom;
    explicit operator bool() const { return fault == Fault::none; }
};

/// The bytes of a container without children.
std::array<std::byte, kEmptyContainerSize> emptyContainer();

}  // namespace TWQuickTime::atomcontainer
