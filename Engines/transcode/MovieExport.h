// The export of a movie to a file: decoding, composing and scaling, encoding and writing overlap on
// bounded queues inside the call; all threads have ended when it returns.
//
//     Status exported = exportMovie({.movie = &movie, .duration = movie.duration(),
//                                    .settings = settings, .path = "/films/a.mov"});
//
// The file is written beside its destination and takes its place when it is complete and synced.
// After a failure, or when the caller stopped it, nothing of it is left, and what was at the
// destination is untouched.
#pragma once

#include <functional>
#include <string>

#include "Engines/result/Result.h"
#include "Engines/timeline/Movie.h"
#include "Engines/transcode/ExportSettings.h"

namespace TWQuickTime::transcode {

struct ExportRequest {
    /// Must not change until the call returns.
    const timeline::Movie* movie = nullptr;
    /// Only this track, enabled or not; null: all enabled ones.
    const timeline::Track* onlyTrack = nullptr;
    /// Movie time units; the range is cut to the movie.
    std::int64_t start = 0;
    std::int64_t duration = 0;
    ExportSettings settings;
    std::string path;
    /// Called on the caller's thread, at least once for each written picture; false stops the
    /// export with `cancelled`. Empty: nobody asks.
    std::function<bool(double fractionDone)> progress;
};

/// `badArgument` for an empty range, `notFound` when the range has nothing that the settings want,
/// `notAvailable` or `unsupported` when an encoder cannot do it, `cancelled`, else what failed.
result::Status exportMovie(const ExportRequest& request);

}  // namespace TWQuickTime::transcode
