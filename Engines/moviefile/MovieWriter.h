// From the movie in memory to the bytes of a movie atom.
//
// The writer compares everything with the form in which it was read: what is still the same goes
// out as the bytes that came in, unknown atoms at their old places; a movie without a change gives
// the very bytes it was read from. Changed atoms are written in the version they had, unless a
// value needs more room. Offsets go into 'stco' while they fit, else into 'co64'.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "Engines/result/Result.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::moviefile {

enum class Compression {
    asItWas,  ///< compressed when the movie was read from a compressed movie atom
    never,
    always,  ///< 'cmov' with zlib
};

enum class Fragments {
    /// All samples go into the tables of the movie atom, 'mvex' goes away: for files that do not
    /// have the fragments.
    fold,
    /// Tables that were not changed stay as they were (often empty), and so does 'mvex': for the
    /// file that holds the fragments.
    keep,
};

struct WriteOptions {
    Compression compression = Compression::asItWas;
    Fragments fragments = Fragments::fold;
    /// Chunk offsets as 'co64' even where 'stco' would do, so that the atom's size does not depend
    /// on where it is placed.
    bool wideOffsets = false;
    /// Gives the data reference to write for one of the movie's; empty: as they are. With it, a
    /// movie that leaves its file can name that file, and a flattened one itself.
    std::function<timeline::DataReference(const timeline::DataReference&)> mapDataReference;
};

/// The whole atom, header included. `limit` for a movie that no file can hold (an atom past 4 GiB,
/// a value out of its field's range).
result::Expected<std::vector<std::byte>> writeMovieAtom(const timeline::Movie& movie,
                                                        const WriteOptions& options = {});

/// The size that writeMovieAtom's result will have, without building it (but see compression).
result::Expected<std::uint64_t> measureMovieAtom(const timeline::Movie& movie,
                                                 const WriteOptions& options = {});

}  // namespace TWQuickTime::moviefile
