// Self-contained copies of movies.
//
// All samples are copied into the new file, whatever file or memory they come from, interleaved by
// the time at which they are shown. Everything else (edits, references, user data, input maps,
// atoms that nobody here knows) goes along as it is. The data are read and written once; memory
// does not grow with them.
//
//     FlattenOptions options;
//     options.place = MoviePlace::beforeData;
//     options.progress = [&](double fraction) { return !stopped; };
//     Status flattened = flattenMovie(movie, "/films/copy.mov", options);
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Engines/moviefile/MovieWriter.h"
#include "Engines/moviefile/Storage.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::moviefile {

enum class MoviePlace { afterData, beforeData };

struct FlattenOptions {
    MoviePlace place = MoviePlace::afterData;
    /// False: one track's data behind the other's.
    bool interleave = true;
    Compression compression = Compression::asItWas;
    /// A whole 'ftyp' atom to begin with; empty: that of a QuickTime movie.
    std::vector<std::byte> fileType = {};
    /// Called on the caller's thread with the part that is done, from 0 to 1 and never less than
    /// before; false stops with `cancelled`.
    std::function<bool(double fraction)> progress;
};

/// Writes the copy beside the destination and gives it the destination's name when it is complete
/// and on the disk. After any failure the destination is what it was and nothing is left beside it.
/// The movie is put together anew while this runs and is what it was when it returns; it may be the
/// movie of the destination itself.
/// @return `notAvailable` where a sample's data cannot be opened, `truncated` where they end too
///         early, `noSpace`, `cancelled`, …
result::Status flattenMovie(timeline::Movie& movie, const std::string& destination,
                            const FlattenOptions& options = {});

/// As above, into an empty storage that the caller syncs or gives up.
result::Status flattenInto(timeline::Movie& movie, Storage& destination,
                           const FlattenOptions& options = {});

}  // namespace TWQuickTime::moviefile
