// From bytes to the movie in memory.
//
//     result::Expected<OpenedMovie> opened = openMovieFile("/films/a.mov");
//     if (!opened) return opened.failure();
//     timeline::Movie& movie = *opened->movie;
//
// Opening maps the movie atom and reads headers; sample tables stay views on the mapped bytes. The
// movie keeps the mapping alive and stays valid when the file is replaced or grows.
#pragma once

#include <memory>
#include <string>

#include "Engines/moviefile/FileLayout.h"
#include "Engines/timeline/Movie.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::moviefile {

struct ReadOptions {
    /// Whether to open the files that data references name. A reference that cannot be resolved
    /// keeps a null store and does not fail the movie.
    bool resolveReferences = true;
    /// The file that "in the same file" means, and the folder relative references start from;
    /// null when the movie was never in a file.
    std::shared_ptr<timeline::SampleStore> self;
};

struct OpenedMovie {
    std::unique_ptr<timeline::Movie> movie;
    FileLayout layout;
    /// Of the movie atom that was read, in `layout.atoms`.
    std::size_t movieAtomIndex = 0;
    /// The store of the file itself, the one that self references of the movie name.
    std::shared_ptr<timeline::SampleStore> file;
    /// Whether samples come from fragments behind the movie atom ('moof').
    bool fragmented = false;
};

/// `notFound` when there is no such file or no movie in it, `truncated` when the file ends within
/// the movie atom, `damaged` with path and offset in the message when the movie contradicts itself.
result::Expected<OpenedMovie> openMovieFile(const std::string& path,
                                            const ReadOptions& options = {});

/// As above from any store (a file that is open already, memory).
result::Expected<OpenedMovie> openMovie(std::shared_ptr<timeline::SampleStore> file,
                                        const ReadOptions& options = {});

/// Reads one whole movie atom ('moov' with its header) that is in memory.
/// @param offsetInFile  where it lies, for messages
result::Expected<std::unique_ptr<timeline::Movie>> readMovieAtom(
    const timeline::SharedBytes& movieAtom, const ReadOptions& options = {},
    std::uint64_t offsetInFile = 0);

}  // namespace TWQuickTime::moviefile
