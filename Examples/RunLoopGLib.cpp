// A program with GLib's main loop (as every GTK program has) that lets the library's delayed
// performs run in it.
//
//     $ RunLoopGLib
//     tick 1 of the library
//     tick 2 of the library
//     tick 3 of the library
//     timeout of GLib
//
// One source is all it takes: GLib watches the run loop's descriptor and calls runOnce() whenever
// there is something to do.
#include <glib-unix.h>
#include <glib.h>

#include <cstdio>
#include <memory>

#include "NSRunLoop.h"

namespace {

using namespace TWQuickTime;

gboolean runLoopIsReady(gint, GIOCondition, gpointer) {
    NSRunLoop::currentRunLoop()->runOnce();
    return G_SOURCE_CONTINUE;
}

gboolean timeoutOfGLib(gpointer mainLoop) {
    std::printf("timeout of GLib\n");
    g_main_loop_quit(static_cast<GMainLoop*>(mainLoop));
    return G_SOURCE_REMOVE;
}

class Ticker : public std::enable_shared_from_this<Ticker> {
  public:
    explicit Ticker(GMainLoop* mainLoop) : mainLoop_(mainLoop) {}

    void tick() {
        std::printf("tick %d of the library\n", ++count_);
        if (count_ < 3)
            NSRunLoop::currentRunLoop()->performSelector(shared_from_this(), "tick", &Ticker::tick,
                                                         0.01, {NSRunLoopCommonModes});
        else
            g_timeout_add(10, timeoutOfGLib, mainLoop_);
    }

  private:
    GMainLoop* mainLoop_;
    int count_ = 0;
};

}  // namespace

int main() {
    GMainLoop* mainLoop = g_main_loop_new(nullptr, FALSE);
    const auto loop = NSRunLoop::currentRunLoop();
    g_unix_fd_add(loop->fileDescriptor(), G_IO_IN, runLoopIsReady, nullptr);

    const auto ticker = std::make_shared<Ticker>(mainLoop);
    loop->performSelector(ticker, "tick", &Ticker::tick, 0.01, {NSRunLoopCommonModes});
    g_main_loop_run(mainLoop);
    g_main_loop_unref(mainLoop);
    return 0;
}
