// Gives a movie that is being loaded its turns on a run loop.
//
//     auto loader = std::make_shared<MovieLoader>(movie, NSRunLoop::currentRunLoop(), [] { … });
//     loader->start();
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "MovieTypes.h"
#include "NSRunLoop.h"

namespace TWQuickTime {

class MovieLoader : public std::enable_shared_from_this<MovieLoader> {
  public:
    /// @param stateDidChange  called on the run loop, once for each state that is reached there
    MovieLoader(Movie movie, std::shared_ptr<NSRunLoop> loop, std::function<void()> stateDidChange);

    void start();
    /// One of the kMovieLoadState… values. Any thread. Whoever asks now and then on the run loop's
    /// own thread, without letting the loop run, still sees the movie become loaded; the change is
    /// told when the loop runs.
    std::int32_t state();
    const std::shared_ptr<NSRunLoop>& loop() const { return loop_; }

  private:
    void takeTurn();
    bool advance();

    Movie movie_;
    std::shared_ptr<NSRunLoop> loop_;
    std::function<void()> stateDidChange_;
    std::atomic<std::int32_t> state_;
    double lastTurnInSeconds_;
    bool hasChangedUntold_ = false;
};

}  // namespace TWQuickTime
