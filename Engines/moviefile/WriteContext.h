// What writing a movie carries from atom to atom. Internal to the writer.
//
// The pattern of all of it: walk the children of the atom that an object was read from, in their
// order; write those that say what the object says as they are, others anew in their place, and
// what was not there where it usually stands. `Merge` does that for one parent.
#pragma once

#include <functional>
#include <vector>

#include "Engines/moviefile/AtomSink.h"
#include "Engines/moviefile/MovieWriter.h"
#include "Engines/moviefile/Origins.h"

namespace TWQuickTime::moviefile {

struct WriteContext {
    const WriteOptions& options;
    AtomSink& sink;
    const timeline::Movie& movie;

    /// Whether headers of what was read from fragments must be stated anew.
    bool folds(bool fragmented) const { return fragmented && options.fragments == Fragments::fold; }
};

/// Writes one child of a parent. `original` is the atom it was read from, null when it is new.
/// Writing nothing leaves the child out.
using ChildWriter = std::function<void(const AtomView* original)>;

class Merge {
  public:
    /// A child that the object knows. The first original of the type is its own; later ones of
    /// the same type are strangers and stay as they are.
    Merge& child(FourCharCode type, ChildWriter write);
    /// Where no child of a type was there: written before the first original of one of these types
    /// instead of at the end.
    Merge& before(std::initializer_list<FourCharCode> followers);

    /// @param original  the parent as it was read; null: only what is new, in the order given
    void write(AtomSink& sink, const AtomView* original);

  private:
    struct Known {
        FourCharCode type = 0;
        ChildWriter write;
        std::vector<FourCharCode> followers;
        bool written = false;
    };
    void writeMissingBefore(FourCharCode type, const std::vector<bool>& present);

    std::vector<Known> children_;
};

/// Writes an atom whose fields may have changed: as it was when `change` leaves the fields alone.
/// @param original  null: the defaults of `Atom` are what is changed
template <class Atom, class Change>
void putChanged(AtomSink& sink, const AtomView* original, Change&& change) {
    if (!original) {
        Atom atom;
        change(atom);
        sink.put(atom);
        return;
    }
    auto parsed = readFields<Atom>(*original, {nullptr, original->type});
    if (!parsed) {
        sink.bytes(original->bytes);
        return;
    }
    Atom changed = parsed->atom;
    change(changed);
    if (sameFields(changed, parsed->atom))
        sink.bytes(original->bytes);
    else
        sink.put(changed, parsed->rest, original->headerSizeInBytes);
}

/// Writes an atom with a payload of its own making: as it was when that is the same.
void putPayload(AtomSink& sink, const AtomView* original, FourCharCode type,
                std::span<const std::byte> payload);

void writeTrack(WriteContext& context, const timeline::Track& track, const AtomView* original);
/// Writes the media of a track that has one.
void writeMedia(WriteContext& context, const timeline::Track& track);
/// Whether the track's own atom holds the input map of its media, as it was read.
bool holdsInputMap(const timeline::Track& track);
/// Whether the tables of a media that was read from fragments stay as they were in the file.
bool keepsTablesOf(const WriteContext& context, const timeline::Media& media);
/// @param original  'stbl' as it was read
void writeSampleTable(WriteContext& context, const timeline::Media& media,
                      const AtomView* original);

}  // namespace TWQuickTime::moviefile
