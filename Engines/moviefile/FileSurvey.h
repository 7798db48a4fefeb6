// All outermost atoms of a movie file that is about to be changed, and the place where the next one
// can be appended.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Engines/moviefile/OuterAtoms.h"
#include "Engines/moviefile/Storage.h"

namespace TWQuickTime::moviefile {

struct FileSurvey {
    std::vector<OuterAtom> atoms;      ///< in file order
    std::optional<std::size_t> movie;  ///< which of them is the movie (see OuterAtoms.h)
    std::uint64_t endOfAtoms = 0;      ///< fewer than eight stray bytes may follow
    std::uint64_t sizeInBytes = 0;

    const OuterAtom* movieAtom() const { return movie ? &atoms[*movie] : nullptr; }
};

/// @return `damaged` where an atom has an impossible size, `limit` past a million atoms: what
///         cannot be walked to its end must not be appended to
result::Expected<FileSurvey> surveyFile(const Storage& storage);

/// Makes the last atom of the file end where the file ends, so that an atom written there is found,
/// and begins an empty file with its 'ftyp' atom. Changes only size fields (or the type of a
/// cut-off movie atom) behind the movie; a movie atom that runs to the end of the file gets its
/// size by a switch that changes a single byte. Needs no sync before a sync of what is appended.
/// @return the offset for the next atom
result::Expected<std::uint64_t> prepareToAppend(Storage& storage);

}  // namespace TWQuickTime::moviefile
