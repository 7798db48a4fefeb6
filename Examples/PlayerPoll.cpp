// A player in a program with its own poll loop.
//
//     $ PlayerPoll
//     playing 0.30 seconds
//     marker 0
//     marker 1
//     the end
//
// The program watches the run loop's descriptor beside its own ones and calls runOnce() whenever it
// is readable; the player tells its delegate from there. Without a file it plays a short tone that
// it makes itself, on the silent output, so that it runs everywhere.
#include <poll.h>

#include <cstdio>
#include <memory>

#include "NSRunLoop.h"
#include "TWQTAudio.h"
#include "Tone.h"

using namespace TWQuickTime;

int main(int argc, char** argv) {
    const Tone tone;
    const auto loop = NSRunLoop::currentRunLoop();
    NSError error;
    const auto player =
        TWQTAudio::audioWithFile(NSString(argc > 1 ? argv[1] : tone.path()), nullptr, &error);
    if (!player) {
        std::fprintf(stderr, "%s\n", error.localizedDescription().utf8().c_str());
        return 1;
    }
    if (argc == 1)
        player->setAttribute("silent", QTMovieSoundOutputAttribute);
    player->setMarkers(TWQTAudio::list(
        {std::make_shared<TWQTAudioMarker>(0.1), std::make_shared<TWQTAudioMarker>(0.2)}));

    bool isOver = false;
    const auto delegate = std::make_shared<TWQTAudioDelegate>();
    delegate->didChangeLoadState = [&isOver](std::int32_t loadState, TWQTAudio& audio) {
        if (loadState == 100000) {
            std::printf("playing %.2f seconds\n", audio.durationInSeconds());
            audio.play();
        }
        isOver = loadState < 0;
    };
    delegate->didFireMarkerForAudio = [](TWQTAudio&, std::uint32_t index) {
        std::printf("marker %u\n", index);
    };
    delegate->didStopPlayingAudio = [&isOver](TWQTAudio&, bool atEnd) {
        std::printf(atEnd ? "the end\n" : "stopped\n");
        isOver = true;
    };
    player->setDelegate(delegate);

    pollfd watched = {loop->fileDescriptor(), POLLIN, 0};
    while (!isOver && poll(&watched, 1, -1) > 0)
        loop->runOnce();
    return 0;
}
