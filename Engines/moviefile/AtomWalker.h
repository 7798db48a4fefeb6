// The atoms inside an atom, one after the other, as views.
//
//     AtomWalker walker(parent.payload(), parent.payloadOffset());
//     while (const auto child = walker.next()) use(*child);
//     if (walker.damaged()) …            // the last bytes claim to be an atom that cannot be
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Engines/moviefile/AtomFields.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::moviefile {

struct AtomView {
    FourCharCode type = 0;
    SharedBytes bytes;  ///< header included
    std::size_t headerSizeInBytes = 8;
    std::uint64_t offset = 0;  ///< of the header, in the file

    SharedBytes payload() const { return bytes.part(headerSizeInBytes); }
    std::uint64_t payloadOffset() const { return offset + headerSizeInBytes; }
};

class AtomWalker {
  public:
    /// @param payload  what a parent holds after its own header and fields
    /// @param offset   of the payload in the file
    AtomWalker(SharedBytes payload, std::uint64_t offset)
        : payload_(std::move(payload)), offset_(offset) {}

    /// None at the end: when fewer than 8 bytes are left, at a size of 0 (some writers end lists
    /// with one), or where a size passes the end of the parent.
    std::optional<AtomView> next();
    /// What follows the last atom.
    SharedBytes stray() const { return payload_.part(position_); }
    /// Whether what is left claims to be an atom: its size is less than its header or passes the
    /// end of the parent.
    bool damaged() const { return missing_ != 0; }
    /// Bytes that the last atom claims and that are not there (all of it: 8).
    std::uint64_t missingBytes() const { return missing_; }
    std::uint64_t currentOffset() const { return offset_ + position_; }
    FourCharCode damagedType() const { return damagedType_; }

  private:
    SharedBytes payload_;
    std::uint64_t offset_ = 0;
    std::size_t position_ = 0;
    std::uint64_t missing_ = 0;
    FourCharCode damagedType_ = 0;
};

/// The first child of a type; none when there is none.
std::optional<AtomView> findChild(const AtomView& parent, FourCharCode type);

/// One whole atom that fills `bytes`; none when its header says otherwise.
std::optional<AtomView> wholeAtom(const SharedBytes& bytes, std::uint64_t offset);

/// Where the reader is, for messages: moov/trak[2]/mdia.
struct AtomPlace {
    const AtomPlace* parent = nullptr;
    FourCharCode type = 0;
    std::size_t number = 0;  ///< from 1 among its siblings of the type; 0 where there is only one

    std::string path() const;
};

/// "moov/trak[2]/mdia/minf/stbl/stsc @ 0x1f40: what"
result::Failure damagedAt(const AtomPlace& place, std::uint64_t offset, const std::string& what);
/// The failure of a walk that met an impossible atom.
result::Failure damagedChild(const AtomPlace& parent, const AtomWalker& walker);
/// "…: 12 bytes missing (rows)"
result::Failure missingBytesAt(const AtomPlace& place, std::uint64_t offset, std::uint64_t missing,
                               const char* field);

/// Reads the fields of an atom whose payload begins with them.
template <class Atom>
result::Expected<Parsed<Atom>> readFields(const AtomView& view, const AtomPlace& place) {
    Parsed<Atom> parsed;
    FieldReader reader(view.payload());
    Atom::describe(reader, parsed.atom);
    if (reader.failed())
        return missingBytesAt(place, view.offset, reader.missingBytes(), reader.failedField());
    parsed.rest = reader.rest();
    return parsed;
}

}  // namespace TWQuickTime::moviefile
