#include "Private/MovieLoader.h"

#include <utility>

#include "MovieDrawing.h"
#include "Movies.h"

namespace TWQuickTime {
namespace {

/// A run loop that did not come to a movie for so long is taken to be blocked.
constexpr double kSecondsOfABlockedLoop = 0.25;

}  // namespace

MovieLoader::MovieLoader(Movie movie, std::shared_ptr<NSRunLoop> loop,
                         std::function<void()> stateDidChange)
    : movie_(movie),
      loop_(std::move(loop)),
      stateDidChange_(std::move(stateDidChange)),
      state_(GetMovieLoadState(movie)),
      lastTurnInSeconds_(loop_->clock()->nowInSeconds()) {}

void MovieLoader::start() {
    loop_->performSelector(shared_from_this(), "takeTurn", &MovieLoader::takeTurn, 0,
                           {NSRunLoopCommonModes});
}

bool MovieLoader::advance() {
    MoviesTask(movie_, 0);
    lastTurnInSeconds_ = loop_->clock()->nowInSeconds();
    const std::int32_t state = GetMovieLoadState(movie_);
    return state_.exchange(state) != state;
}

void MovieLoader::takeTurn() {
    const bool hasChanged = std::exchange(hasChangedUntold_, false) || advance();
    if (const std::int32_t state = state_;
        state != kMovieLoadStateError && state != kMovieLoadStateComplete)
        start();
    if (hasChanged)
        stateDidChange_();
}

std::int32_t MovieLoader::state() {
    if (state_ == kMovieLoadStateLoading && loop_->isOnItsThread() &&
        loop_->clock()->nowInSeconds() - lastTurnInSeconds_ >= kSecondsOfABlockedLoop) {
        while (state_ == kMovieLoadStateLoading)
            hasChangedUntold_ = advance();
    }
    return state_;
}

}  // namespace TWQuickTime
