// Files of other formats open as movies, too.
#include "Engines/transcode/MovieImport.h"
#include "Private/OpenMovie.h"

namespace TWQuickTime {
namespace {

[[maybe_unused]] const bool foreignMoviesOpen = [] {
    setForeignMovieOpener([](const std::string& path) { return transcode::importMovie(path); });
    return true;
}();

}  // namespace
}  // namespace TWQuickTime
