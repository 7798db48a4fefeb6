// Files of foreign formats (WAV, AIFF, MP3, FLAC, AVI, Matroska, MPEG …) as movies.
//
// The movie's samples refer to the original file, also those that the format spreads over packets
// of its own. Only what is not there at all, as lengths that stand for start codes, is kept beside
// it, in a file without a name that goes with the movie.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "Engines/result/Result.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::transcode {

/// `notFound` when there is no such file, `unsupported` or `damaged` when it is of no known format.
result::Expected<std::unique_ptr<timeline::Movie>> importMovie(const std::string& path);

/// The same in slices, for who has other things to do meanwhile.
///
///     auto import = MovieImport::open(path);
///     std::unique_ptr<timeline::Movie> movie;
///     while (!movie) movie = *(*import)->advance(2000);   // failures left out
class MovieImport {
  public:
    static result::Expected<std::unique_ptr<MovieImport>> open(const std::string& path);
    ~MovieImport();
    MovieImport(const MovieImport&) = delete;
    MovieImport& operator=(const MovieImport&) = delete;

    /// Looks at up to so many further packets of the file.
    /// @return the movie when that were all of them, which ends the import; null before
    result::Expected<std::unique_ptr<timeline::Movie>> advance(std::size_t mostPackets);

  private:
    class Work;
    explicit MovieImport(std::unique_ptr<Work> work);
    std::unique_ptr<Work> work_;
};

}  // namespace TWQuickTime::transcode
