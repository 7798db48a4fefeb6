// `twqt flatten`: a self-contained copy of a movie.
#include <MovieStorage.h>
#include <Movies.h>
#include <StDataRef.h>
#include <StMovieProgress.h>

#include "Command.h"
#include "CommandFailure.h"
#include "Interrupt.h"
#include "MovieArgument.h"
#include "OutputFile.h"
#include "ProgressDisplay.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct FlattenOptions {
    std::string input;
    std::string output;
    bool movieLast = false;
    bool force = false;
    ProgressStyle progress = ProgressStyle::automatic;
};

/// What the progress procedure works with.
struct Watch {
    ProgressDisplay display;
    Interrupt interrupt;
};

OSErr showProgress(Movie, std::int16_t message, std::int16_t, Fixed percentDone,
                   std::intptr_t refCon) {
    auto& watch = *reinterpret_cast<Watch*>(refCon);
    watch.display.show(static_cast<ProgressDisplay::Message>(message), percentDone / 65536.0);
    return watch.interrupt.requested() ? userCanceledErr : noErr;
}

void run(const FlattenOptions& options) {
    const QuietLog quiet;
    requireFreeOutput(options.output, options.force);
    const OpenedMovie movie(options.input);
    Watch watch{ProgressDisplay(options.progress, GetMovieDuration(movie.movie()) /
                                                      double(GetMovieTimeScale(movie.movie()))),
                {}};
    const StMovieProgress progress(movie.movie(), showProgress,
                                   reinterpret_cast<std::intptr_t>(&watch));
    const StDataRef destination{NSString(options.output)};
    const std::int32_t flags = flattenAddMovieToDataFork |
                               (options.movieLast ? 0 : flattenForceMovieResourceBeforeMovieData);
    FlattenMovieDataToDataRef(movie.movie(), flags, destination.GetDataRef(), destination.GetType(),
                              fourCC("TVOD"), smCurrentScript,
                              createMovieFileDeleteCurFile | createMovieFileDontCreateMovie);
    const OSErr status = GetMoviesError();
    if (watch.interrupt.requested())
        throw interruptedFailure("flatten " + options.input);
    if (status != noErr)
        throw failureWithStatus("flatten " + options.input + " to " + options.output, status);
}

const CommandRegistration registration("flatten", [](CLI::App& program) {
    CLI::App* command =
        addCommand(program, "flatten", "Self-contained copy of a movie, ready to be streamed",
                   "twqt flatten movie.mov copy.mov");
    auto options = std::make_shared<FlattenOptions>();
    command->add_option("INPUT", options->input, "the movie")->required();
    command->add_option("OUTPUT", options->output, "the copy")->required();
    command->add_flag("--movie-last", options->movieLast,
                      "put the movie's structure behind its media data");
    addForceFlag(*command, options->force);
    addProgressOption(*command, options->progress);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
