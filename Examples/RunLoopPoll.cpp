// A program with its own poll loop that lets the library's delayed performs run in it.
//
//     $ RunLoopPoll
//     tick 1
//     tick 2
//     tick 3
//     typed: hello
//
// It watches the run loop's descriptor beside one of its own (here a pipe, in a real program a
// socket or a window system's connection) and calls runOnce() whenever the former is readable.
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "NSRunLoop.h"

namespace {

using namespace TWQuickTime;

/// Ticks three times, then writes a word into a pipe.
class Ticker : public std::enable_shared_from_this<Ticker> {
  public:
    explicit Ticker(int pipe) : pipe_(pipe) {}

    void tick() {
        std::printf("tick %d\n", ++count_);
        if (count_ < 3)
            NSRunLoop::currentRunLoop()->performSelector(shared_from_this(), "tick", &Ticker::tick,
                                                         0.01, {NSRunLoopCommonModes});
        else if (write(pipe_, "hello", 5) != 5)
            std::perror("write");
    }

  private:
    int pipe_;
    int count_ = 0;
};

}  // namespace

int main() {
    int ends[2];
    if (pipe(ends) != 0) {
        std::perror("pipe");
        return 1;
    }
    const auto loop = NSRunLoop::currentRunLoop();
    const auto ticker = std::make_shared<Ticker>(ends[1]);
    loop->performSelector(ticker, "tick", &Ticker::tick, 0.01, {NSRunLoopCommonModes});

    pollfd watched[] = {{loop->fileDescriptor(), POLLIN, 0}, {ends[0], POLLIN, 0}};
    while (poll(watched, 2, -1) > 0) {
        if (watched[0].revents)
            loop->runOnce();
        if (watched[1].revents) {
            char word[16];
            const ssize_t length = read(ends[0], word, sizeof word);
            std::printf(
                "typed: %s\n",
                std::string(word, static_cast<std::size_t>(length > 0 ? length : 0)).c_str());
            return length > 0 ? 0 : 1;
        }
    }
    return 1;
}
