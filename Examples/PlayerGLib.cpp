// A player in a program with GLib's main loop, as every GTK program has.
//
//     $ PlayerGLib
//     playing 0.30 seconds
//     0.0
//     0.1
//     0.2
//     the end
//
// One source is all it takes: GLib watches the run loop's descriptor and calls runOnce() whenever
// there is something to do. Without a file it plays a short tone that it makes itself, on the
// silent output, so that it runs everywhere.
#include <glib-unix.h>
#include <glib.h>

#include <cstdio>
#include <memory>

#include "NSRunLoop.h"
#include "TWQTAudio.h"
#include "Tone.h"

namespace {

using namespace TWQuickTime;

gboolean runLoopIsReady(gint, GIOCondition, gpointer) {
    NSRunLoop::currentRunLoop()->runOnce();
    return G_SOURCE_CONTINUE;
}

}  // namespace

int main(int argc, char** argv) {
    const Tone tone;
    GMainLoop* mainLoop = g_main_loop_new(nullptr, FALSE);
    g_unix_fd_add(NSRunLoop::currentRunLoop()->fileDescriptor(), G_IO_IN, runLoopIsReady, nullptr);

    NSError error;
    const auto player =
        TWQTAudio::audioWithFile(NSString(argc > 1 ? argv[1] : tone.path()), nullptr, &error);
    if (!player) {
        std::fprintf(stderr, "%s\n", error.localizedDescription().utf8().c_str());
        return 1;
    }
    if (argc == 1)
        player->setAttribute("silent", QTMovieSoundOutputAttribute);
    player->setUpdateUserInterfaceInterval(0.1);

    const auto delegate = std::make_shared<TWQTAudioDelegate>();
    delegate->didChangeLoadState = [mainLoop](std::int32_t loadState, TWQTAudio& audio) {
        if (loadState == 100000) {
            std::printf("playing %.2f seconds\n", audio.durationInSeconds());
            audio.play();
        } else if (loadState < 0) {
            g_main_loop_quit(mainLoop);
        }
    };
    delegate->updateUserInterfaceForAudio = [](TWQTAudio& audio) {
        // A window would move its playhead here.
        if (audio.currentTimeInSeconds() < 0.25)
            std::printf("%.1f\n", audio.currentTimeInSeconds());
    };
    delegate->didStopPlayingAudio = [mainLoop](TWQTAudio&, bool) {
        std::printf("the end\n");
        g_main_loop_quit(mainLoop);
    };
    player->setDelegate(delegate);

    g_main_loop_run(mainLoop);
    g_main_loop_unref(mainLoop);
    return 0;
}
