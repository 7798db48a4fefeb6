#include "StMovieProgress.h"

#include "Movies.h"
#include "TWLog.h"

namespace TWQuickTime {

StMovieProgress::StMovieProgress(Movie inMovie, MovieProgressUPP inCallback,
                                 std::intptr_t inRefCon) {
    if (!inMovie) {
        TWLog("%s: inMovie is NULL...", "StMovieProgress");
        return;
    }
    if (!inCallback) {
        TWLog("%s: inCallback is NULL...", "StMovieProgress");
        return;
    }
    mMovie = inMovie;
    SetMovieProgressProc(mMovie, inCallback, inRefCon);
}

StMovieProgress::~StMovieProgress() {
    if (mMovie)
        SetMovieProgressProc(mMovie, nullptr, 0);
}

}  // namespace TWQuickTime
