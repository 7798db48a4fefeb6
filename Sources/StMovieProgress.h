// A progress callback that is installed on a movie for the length of a scope.
//
//     StMovieProgress progress(movie, showProgress, reinterpret_cast<std::intptr_t>(&dialog));
//     UQuickTimeMovie::FlattenMovieToFile(movie, path, creator);
#pragma once

#include "MovieProgress.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT StMovieProgress {
  public:
    /// Logs and installs nothing for a null movie or callback.
    /// @param inRefCon  handed to the callback
    StMovieProgress(Movie inMovie, MovieProgressUPP inCallback, std::intptr_t inRefCon);
    ~StMovieProgress();
    StMovieProgress(const StMovieProgress&) = delete;
    StMovieProgress& operator=(const StMovieProgress&) = delete;

  private:
    Movie mMovie = nullptr;
    [[maybe_unused]] void* mReserved = nullptr;  ///< part of the layout; always null
};

}  // namespace TWQuickTime
