// twqt frame FILE, twqt poster FILE: a frame of a movie as a PNG file.
#include <Movies.h>
#include <TWUQuickTimeMovie.h>
#include <Tracks.h>

#include <iostream>
#include <memory>
#include <optional>

#include "Command.h"
#include "CommandFailure.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "SizeArgument.h"
#include "TimeArgument.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct FrameOptions {
    std::string file;
    std::string output;
    TimeArgument time;
    std::optional<std::int32_t> trackID;
    std::optional<SizeArgument> size;
    bool alpha = false;
    bool force = false;
    bool json = false;
};

Track trackWithID(Movie movie, std::int32_t id) {
    for (std::int32_t i = 1; i <= GetMovieTrackCount(movie); ++i) {
        Track track = GetMovieIndTrack(movie, i);
        if (GetTrackID(track) == id)
            return track;
    }
    return nullptr;
}

void report(const FrameOptions& options, const FramePixels& frame, std::optional<double> seconds) {
    if (options.json) {
        Json result = {{"width", frame.width()}, {"height", frame.height()}};
        result["time"] = seconds ? Json(*seconds) : Json(nullptr);
        printJson(result);
        return;
    }
    std::cout << options.output << ": " << frame.width() << "x" << frame.height();
    if (seconds)
        std::cout << " at " << *seconds << " s";
    std::cout << '\n';
}

void write(const FrameOptions& options, const std::shared_ptr<NSImage>& image,
           std::optional<double> seconds) {
    if (!image)
        throw failureWithStatus("draw a frame of " + options.file, codecBadDataErr);
    const FramePixels frame(*image);
    writePicture(frame.image(), options.output);
    report(options, frame, seconds);
}

void runFrame(const FrameOptions& options) {
    const QuietLog quiet;
    requireFreeOutput(options.output, options.force);
    OpenedMovie opened(options.file);
    opened.movePicturesToOrigin();
    Track track = nullptr;
    if (options.trackID) {
        track = trackWithID(opened.movie(), *options.trackID);
        if (!track)
            throw failureWithStatus(
                "find track " + std::to_string(*options.trackID) + " of " + options.file,
                trackIDNotFound);
    }
    const NSSize size = options.size
                            ? NSMakeSize(options.size->widthInPixels, options.size->heightInPixels)
                            : NSZeroSize;
    write(options,
          TWUQuickTimeMovie::frameImageAtTime(options.time.seconds, track, opened.movie(),
                                              options.alpha, size),
          options.time.seconds);
}

void runPoster(const FrameOptions& options) {
    const QuietLog quiet;
    requireFreeOutput(options.output, options.force);
    OpenedMovie opened(options.file);
    opened.movePicturesToOrigin();
    write(options, TWUQuickTimeMovie::posterImageOfMovie(opened.movie()), std::nullopt);
}

void addCommonOptions(CLI::App& command, FrameOptions& options) {
    command.add_option("FILE", options.file, "the movie")->required();
    command.add_option("-o,--output", options.output, "the PNG file")->required();
    addForceFlag(command, options.force);
    addJsonFlag(command, options.json);
}

const CommandRegistration frameRegistration("frame", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "frame", "A frame of a movie as a picture",
                                   "twqt frame movie.mov --time 2.5 -o frame.png");
    auto options = std::make_shared<FrameOptions>();
    addCommonOptions(*command, *options);
    addTimeOption(*command, "--time", options->time, "which frame (default: the first)");
    command->add_option("--track", options->trackID, "ID of the only track to draw");
    addSizeOption(*command, "--size", options->size, "size of the picture (default: the movie's)");
    command->add_flag("--alpha", options->alpha, "leave places that nothing covers transparent");
    command->callback([options] { runFrame(*options); });
});

const CommandRegistration posterRegistration("poster", [](CLI::App& program) {
    CLI::App* command =
        addCommand(program, "poster", "The frame that stands for a movie, as a picture",
                   "twqt poster movie.mov -o poster.png");
    auto options = std::make_shared<FrameOptions>();
    addCommonOptions(*command, *options);
    command->callback([options] { runPoster(*options); });
});

}  // namespace
}  // namespace twqt
