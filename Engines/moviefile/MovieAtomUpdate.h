// Replaces the movie atom of a file so that the file opens as the old or as the new movie, whenever
// the program is killed or the power fails.
//
//     step                                        what a reader finds
//     1  other 'moov' atoms become free           the old movie (it is the first)
//     2  the new atom is written: past the end,   the old movie; the new atom is behind it, or
//        or into a free atom that fits; sync      still called free
//     3  (in free space) it is called 'moov';     old or new, whichever comes first; both are
//        sync                                     complete
//     4  the old atom is called 'free'; sync      the new movie
//
// A step changes four bytes: the type of an atom, whose size stays. Media data that were written
// before are on the disk when step 2 is. The work is proportional to the movie atom.
//
//     Expected<ByteRange> place = replaceMovieAtom(file, {.movieAtom = bytes});
#pragma once

#include <cstddef>
#include <span>

#include "Engines/moviefile/FreeSpace.h"
#include "Engines/moviefile/Storage.h"

namespace TWQuickTime::moviefile {

struct MovieAtomUpdate {
    /// The whole new atom: a 32-bit size, 'moov', the payload.
    std::span<const std::byte> movieAtom;
    /// Free space that is still looked at, and so not used: a movie that was opened keeps reading
    /// the tables of the atom it came from after that atom has become free.
    std::span<const ByteRange> stillRead = {};
    /// Whether the new movie holds the samples of the file's fragments too, so that the fragments
    /// become free after it.
    bool retireFragments = false;
};

/// @return where the new movie atom lies. On failure the old movie is what the file holds, as far
///         as the storage still lets itself be written; nothing of the attempt is left behind it.
result::Expected<ByteRange> replaceMovieAtom(Storage& storage, const MovieAtomUpdate& update);

}  // namespace TWQuickTime::moviefile
