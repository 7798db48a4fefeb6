// Files as an update may find them, and what such a file opens as.
#pragma once

#include <string>
#include <vector>

#include "AtomBytes.h"
#include "Engines/moviefile/Storage.h"

namespace TWQuickTime::moviefile::test {

/// A file whose movie says "old" (or that has no movie), ready to get the movie "new".
struct UpdateLayout {
    std::string name;
    Bytes bytes;
    bool hasMovie = true;
    bool roomForNew = false;  ///< whether the new movie goes into free space
};

/// The size of the new movie atom that the layouts with room are made for.
constexpr std::size_t newMovieSizeInBytes = 96;

std::vector<UpdateLayout> updateLayouts();

/// The text of the movie that a reader finds, "none", or why there is none.
std::string opensAs(const Storage& storage);
std::string opensAs(const Bytes& bytes);

}  // namespace TWQuickTime::moviefile::test
