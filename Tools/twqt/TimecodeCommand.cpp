// `twqt timecode`: timecode arithmetic, and the timecode track of a movie.
#include <TWUQuickTimeMovie.h>

#include <iostream>

#include "Command.h"
#include "CommandFailure.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "TimeCodeText.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct TimecodeOptions {
    std::string text;   ///< a timecode, or the file
    std::string start;  ///< timecode to add
    std::int32_t frame = 0;
    std::int32_t rate = 25;
    bool addFrames = false;
    bool addHours = false;
    bool json = false;
};

void parse(const TimecodeOptions& options) {
    TimeCodeTime timeCode;
    std::int32_t frame = 0;
    const OSErr status = TWUQuickTimeMovie::timeCodeStringToTCT(NSString(options.text),
                                                                options.rate, &timeCode, &frame);
    if (options.json) {
        printJson({{"status", status},
                   {"hours", timeCode.hours},
                   {"minutes", timeCode.minutes},
                   {"seconds", timeCode.seconds},
                   {"frames", timeCode.frames},
                   {"frame", frame}});
        return;
    }
    if (status != noErr)
        throw failureWithStatus("parse " + options.text, status);
    std::cout << frame << '\n';
}

void format(const TimecodeOptions& options) {
    const NSString text = TWUQuickTimeMovie::timeCodeStringForFrame(
        options.frame, options.rate, options.addFrames, options.addHours);
    if (options.json)
        printJson({{"text", jsonFromString(text)}});
    else if (!text)
        throw CommandFailure("format " + std::to_string(options.frame), "the rate is 0 (-50)");
    else
        std::cout << text.utf8() << '\n';
}

void printStart(const TimecodeOptions& options, const std::optional<std::string>& start) {
    if (options.json)
        printJson({{"start", start ? Json(*start) : Json(nullptr)}});
    else
        std::cout << start.value_or("-") << '\n';
}

void show(const TimecodeOptions& options) {
    const QuietLog quiet;
    const OpenedMovie movie(options.text);
    printStart(options, startTimeCodeText(movie.movie()));
}

void add(const TimecodeOptions& options) {
    const QuietLog quiet;
    TimeCodeTime start;
    if (TWUQuickTimeMovie::timeCodeStringToTCT(NSString(options.start), options.rate, &start,
                                               nullptr) != noErr)
        throw usageFailure("--start " + options.start, "it is no timecode");
    EditedMovie movie(options.text);
    const OSErr status = TWUQuickTimeMovie::addTimeCode(start, movie.movie(), options.rate);
    if (status != noErr)
        throw failureWithStatus("add a timecode to " + options.text, status);
    movie.save();
    printStart(options, startTimeCodeText(movie.movie()));
}

void remove(const TimecodeOptions& options) {
    const QuietLog quiet;
    EditedMovie movie(options.text);
    if (TWUQuickTimeMovie::removeTimeCodeTrackOfMovie(movie.movie()))
        movie.save();
    printStart(options, startTimeCodeText(movie.movie()));
}

using Options = std::shared_ptr<TimecodeOptions>;

/// A command below `timecode`, with options of its own.
CLI::App* addAction(CLI::App& parent, const char* name, const char* description,
                    const char* example, const Options& options,
                    void (*action)(const TimecodeOptions&)) {
    CLI::App* command = addCommand(parent, name, description, example);
    addJsonFlag(*command, options->json);
    command->callback([options, action] { action(*options); });
    return command;
}

void addRate(CLI::App& command, const Options& options) {
    command.add_option("--rate", options->rate, "whole frames per second")
        ->required()
        ->check(CLI::Range(1, 255));
}

const CommandRegistration registration("timecode", [](CLI::App& program) {
    CLI::App* timecode = addCommand(program, "timecode", "Timecode arithmetic and timecode tracks",
                                    "twqt timecode show movie.mov");
    timecode->require_subcommand(1);

    auto options = std::make_shared<TimecodeOptions>();
    CLI::App* command = addAction(*timecode, "parse", "Frame number of a timecode",
                                  "twqt timecode parse 01:00:00:00 --rate 25", options, parse);
    command->add_option("TEXT", options->text, "the timecode")->required();
    addRate(*command, options);

    options = std::make_shared<TimecodeOptions>();
    command = addAction(*timecode, "format", "Timecode of a frame number",
                        "twqt timecode format 90000 --rate 25 --frames --hours", options, format);
    command->add_option("FRAME", options->frame, "the frame number")->required();
    addRate(*command, options);
    command->add_flag("--frames", options->addFrames, "with frames");
    command->add_flag("--hours", options->addHours, "with hours");

    options = std::make_shared<TimecodeOptions>();
    command = addAction(*timecode, "show", "Start timecode of a movie",
                        "twqt timecode show movie.mov", options, show);
    command->add_option("FILE", options->text, "the movie")->required();

    options = std::make_shared<TimecodeOptions>();
    command = addAction(*timecode, "add", "Gives a movie a start timecode, in place",
                        "twqt timecode add movie.mov --start 10:00:00:00 --rate 25", options, add);
    command->add_option("FILE", options->text, "the movie")->required();
    command->add_option("--start", options->start, "timecode of the first frame")->required();
    addRate(*command, options);

    options = std::make_shared<TimecodeOptions>();
    command = addAction(*timecode, "remove", "Removes a movie's timecode track, in place",
                        "twqt timecode remove movie.mov", options, remove);
    command->add_option("FILE", options->text, "the movie")->required();
});

}  // namespace
}  // namespace twqt
