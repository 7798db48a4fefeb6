// Files of foreign formats (WAV, AIFF, MP3, FLAC, AVI, Matroska, MPEG …) as movies.
//
// The movie's samples refer to the original file wherever they lie there in one piece; samples that
// the format spreads over packets of its own are kept beside it, in a file without a name that goes
// with the movie.
#pragma once

#include <memory>
#include <string>

#include "Engines/result/Result.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::transcode {

/// `notFound` when there is no such file, `unsupported` or `damaged` when it is of no known format.
result::Expected<std::unique_ptr<timeline::Movie>> importMovie(const std::string& path);

}  // namespace TWQuickTime::transcode
