// Opening movies for the toolbox, from files and from movie atoms in memory.
#pragma once

#include <memory>
#include <string>

#include "Engines/result/Result.h"
#include "Engines/timeline/Movie.h"
#include "Engines/timeline/SharedBytes.h"
#include "Private/MovieRecord.h"

namespace TWQuickTime {

/// A new record of the movie at a path: of the movie that the file holds, or of what a file of
/// another format can be seen as. New samples go to the storage that is open for the file, if
/// there is one.
/// @param flags  newMovie… flags
result::Expected<std::unique_ptr<MovieRecord>> openMovieAtPath(const std::string& path,
                                                               std::int32_t flags);

/// As above, for files that hold a movie only.
result::Expected<std::unique_ptr<MovieRecord>> openMovieWithAtom(const std::string& path,
                                                                 std::int32_t flags);
/// Whether a file that did not open so may be of another format.
bool mayBeForeign(const result::Failure& failure);

/// The movie as one movie atom whose data references can be followed from anywhere in this process.
result::Expected<std::vector<std::byte>> movieAtomForHandle(const timeline::Movie& movie);
/// The movie of an atom that is in memory, its data references followed.
result::Expected<std::unique_ptr<timeline::Movie>> movieOfAtom(const timeline::SharedBytes& atom,
                                                               std::int32_t flags);

}  // namespace TWQuickTime
