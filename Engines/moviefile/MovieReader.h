// From bytes to the movie in memory.
//
//     result::Expected<OpenedMovie> opened = openMovieFile("/films/a.mov");
//     if (!opened) return opened.failure();
//     timeline::Movie& movie = *opened->movie;
//
// Opening maps the movie atom and reads headers; sample tables stay views on the mapped bytes. The
// movie keeps the mapping alive and stays valid when the storage goes or grows. Whoever writes into
// the file must leave the bytes of the movie atom alone that a movie was opened from.
#pragma once

#include <memory>
#include <string>

#include "Engines/moviefile/FileStorage.h"
#include "Engines/moviefile/OuterAtoms.h"
#include "Engines/moviefile/Storage.h"
#include "Engines/timeline/Movie.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::moviefile {

struct ReadOptions {
    /// Whether to open the files that data references name. A reference that cannot be resolved
    /// keeps a null store and does not fail the movie.
    bool resolveReferences = true;
    /// What "in the same file" means, and the folder that relative references start from. Given
    /// automatically by openMovie; null for a movie atom that was never in a file.
    std::shared_ptr<timeline::SampleStore> self;
};

struct OpenedMovie {
    std::unique_ptr<timeline::Movie> movie;
    std::shared_ptr<Storage> storage;
    /// The storage as self references of the movie name it.
    std::shared_ptr<timeline::SampleStore> self;
    /// Where the movie atom lies in the storage.
    OuterAtom movieAtom;
    /// Whether samples come from fragments behind the movie atom ('moof').
    bool fragmented = false;
};

/// `notFound` when there is no such file or no movie in it, `truncated` when the file ends within
/// the movie atom, `damaged` with path and offset in the message when the movie contradicts itself.
result::Expected<OpenedMovie> openMovieFile(const std::string& path, Access access = Access::read,
                                            const ReadOptions& options = {});

/// As above from any storage.
/// @param path  of the file behind the storage, for relative references; "" when there is none
result::Expected<OpenedMovie> openMovie(std::shared_ptr<Storage> storage, const std::string& path,
                                        const ReadOptions& options = {});

/// Reads one whole movie atom ('moov' with its header) that is in memory. Fragments that may
/// belong to it are not looked for.
/// @param offsetInFile  where it lies, for messages
result::Expected<std::unique_ptr<timeline::Movie>> readMovieAtom(
    const timeline::SharedBytes& movieAtom, const ReadOptions& options = {},
    std::uint64_t offsetInFile = 0);

}  // namespace TWQuickTime::moviefile
