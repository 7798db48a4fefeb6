// `twqt duration`: how long a file is, as a movie and as sound.
#include <UQuickTimeAudio.h>
#include <UQuickTimeMovie.h>

#include <cstdio>

#include "Command.h"
#include "CommandFailure.h"
#include "JsonOutput.h"
#include "MovieArgument.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct DurationOptions {
    std::string file;
    bool json = false;
};

void run(const DurationOptions& options) {
    const QuietLog quiet;
    double movieSeconds = 0, audioSeconds = 0;
    const NSString path(options.file);
    const OSErr status = UQuickTimeMovie::GetDuration(path, movieSeconds);
    UQuickTimeAudio::GetAudioDuration(path, audioSeconds);
    // A file that is no movie may still be measured as sound.
    if (status != noErr && audioSeconds == 0)
        throw failureWithStatus("open " + options.file, status);
    if (options.json)
        printJson({{"movie", movieSeconds}, {"audio", audioSeconds}});
    else
        std::printf("movie  %.6f s\naudio  %.6f s\n", movieSeconds, audioSeconds);
}

const CommandRegistration registration("duration", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "duration", "Duration as a movie and as sound",
                                   "twqt duration movie.mov");
    auto options = std::make_shared<DurationOptions>();
    command->add_option("FILE", options->file, "the movie or sound file")->required();
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
