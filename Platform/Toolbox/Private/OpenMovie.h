// Opening movies for the toolbox, from files and from movie atoms in memory.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Engines/result/Result.h"
#include "Engines/timeline/Movie.h"
#include "Engines/timeline/SharedBytes.h"
#include "Private/MovieRecord.h"

namespace TWQuickTime {

/// Opens files that are no movie files as movies whose samples stay where they are.
using ForeignMovieOpener =
    std::function<result::Expected<std::unique_ptr<timeline::Movie>>(const std::string& path)>;
/// Installs the one opener that is asked about files without a movie; to be called while the
/// library is loaded.
void setForeignMovieOpener(ForeignMovieOpener opener);

/// A new record of the movie at a path. New samples go to the storage that is open for the file, if
/// there is one.
/// @param flags  newMovie… flags
result::Expected<std::unique_ptr<MovieRecord>> openMovieAtPath(const std::string& path,
                                                               std::int32_t flags);

/// The movie as one movie atom whose data references can be followed from anywhere in this process.
result::Expected<std::vector<std::byte>> movieAtomForHandle(const timeline::Movie& movie);
/// The movie of an atom that is in memory, its data references followed.
result::Expected<std::unique_ptr<timeline::Movie>> movieOfAtom(const timeline::SharedBytes& atom,
                                                               std::int32_t flags);

}  // namespace TWQuickTime
