// `twqt tracks`: removes tracks of a movie in place.
#include <TWUQuickTimeMovie.h>

#include <iostream>

#include "Command.h"
#include "FourCharCodeText.h"
#include "JsonOutput.h"
#include "MovieArgument.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct TracksOptions {
    std::string file;
    std::optional<OSType> disposeType;
    bool disposeDisabled = false;
    bool json = false;
};

void run(const TracksOptions& options) {
    const QuietLog quiet;
    EditedMovie movie(options.file);
    const bool removed =
        options.disposeType
            ? TWUQuickTimeMovie::disposeTracksOfMovie(movie.movie(), *options.disposeType)
            : TWUQuickTimeMovie::disposeDisabledTracksOfMovie(movie.movie());
    if (removed)
        movie.save();
    if (options.json)
        printJson({{"removed", removed}});
    else
        std::cout << (removed ? "tracks were removed\n" : "there was no such track\n");
}

const CommandRegistration registration("tracks", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "tracks", "Removes tracks of a movie in place",
                                   "twqt tracks movie.mov --dispose-type soun");
    auto options = std::make_shared<TracksOptions>();
    command->add_option("FILE", options->file, "the movie")->required();
    CLI::Option_group* what = command->add_option_group("what to remove");
    addFourCharCodeOption(*what, "--dispose-type", options->disposeType,
                          "all tracks of a media type");
    what->add_flag("--dispose-disabled", options->disposeDisabled, "all tracks that are off");
    what->require_option(1);
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
