// `twqt export`: exports a movie with a setting or a sequence of a preset file.
#include <Movies.h>
#include <NSError_TWQECSError.h>
#include <TWQECSReader.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "Command.h"
#include "CommandFailure.h"
#include "ExportPlan.h"
#include "Interrupt.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "OutputFile.h"
#include "PresetIdentifier.h"
#include "ProgressDisplay.h"
#include "SiblingFile.h"
#include "TimeArgument.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct ExportOptions {
    std::string presets;
    std::string id;
    std::string name;
    std::optional<TimeArgument> start;
    std::optional<TimeArgument> duration;
    std::string input;
    std::string output;
    bool force = false;
    bool dryRun = false;
    bool json = false;
    ProgressStyle progress = ProgressStyle::automatic;
};

/// A part of the movie, in its own units.
struct Range {
    TimeValue start = 0;
    TimeValue duration = 0;
};

std::shared_ptr<TWQECS> findPreset(const TWQECSReader& reader, const ExportOptions& options) {
    std::shared_ptr<TWQECS> preset;
    if (!options.id.empty()) {
        preset = presetWithIdentifier(reader, options.id);
    } else {
        preset = reader.componentSettingForName(NSString(options.name));
        if (!preset)
            preset = reader.componentSettingSequenceForName(NSString(options.name));
    }
    if (!preset)
        throw CommandFailure("preset " + (options.id.empty() ? options.name : options.id),
                             "not in " + options.presets + " (-43)");
    return preset;
}

TimeValue inMovieUnits(double seconds, Movie movie) {
    const double units = std::round(seconds * GetMovieTimeScale(movie));
    return static_cast<TimeValue>(std::min(units, double(std::numeric_limits<TimeValue>::max())));
}

Range rangeOf(const ExportOptions& options, Movie movie) {
    Range range{0, GetMovieDuration(movie)};
    if (options.start) {
        range.start = inMovieUnits(options.start->seconds, movie);
        if (range.start >= range.duration)
            throw usageFailure("--start", "lies behind the end of " + options.input);
        range.duration -= range.start;
    }
    if (options.duration)
        range.duration = std::min(range.duration, inMovieUnits(options.duration->seconds, movie));
    return range;
}

Json presetJson(const TWQECS& preset) {
    return {{"id", jsonFromPropertyList(preset.identifier())},
            {"name", jsonFromString(preset.name())}};
}

CommandFailure notInstalledFailure(const ExportOptions& options, const ExportPlan& plan) {
    std::string why = "preset not installed (" + std::to_string(TWQECSNotInstalledError) + ")";
    if (!plan.steps.empty())
        why += ": " + planText(plan);
    return {"export " + options.input + " to " + options.output, why};
}

/// Says what would be done, and fails where the export would fail at once.
void dryRun(const std::shared_ptr<TWQECS>& preset, const ExportOptions& options, Movie movie,
            double seconds) {
    ExportPlan plan = planExport(preset, movie, seconds);
    if (!plan.steps.empty() && plan.isInstalled)
        plan.steps.back().choice.output = NSString(options.output);
    if (options.json) {
        Json steps = Json::array();
        for (const PlannedStep& step : plan.steps)
            steps.push_back(jsonFromPlannedStep(step));
        printJson({{"input", options.input},
                   {"output", options.output},
                   {"preset", presetJson(*preset)},
                   {"seconds", seconds},
                   {"installed", plan.isInstalled},
                   {"temporaryBytes", static_cast<std::int64_t>(plan.temporaryBytes)},
                   {"outputBytes", static_cast<std::int64_t>(plan.outputBytes)},
                   {"steps", steps}});
    } else {
        std::printf("would export %.3f s of %s to %s with %s\n%s", seconds, options.input.c_str(),
                    options.output.c_str(),
                    preset->name() ? preset->name().utf8().c_str() : "a preset without a name",
                    planText(plan).c_str());
    }
    if (!plan.isInstalled)
        throw notInstalledFailure(options, plan);
    requireFreeOutput(options.output, options.force);
}

/// The record as a user knows it: by the name that the output has in the end.
TWQECSExportRecord recordOf(const TWQECS& preset, const SiblingFile& sibling,
                            const ExportOptions& options) {
    TWQECSExportRecord record = preset.exportRecord();
    for (TWQECSExportStep& step : record.steps)
        if (step.output == NSString(sibling.path()))
            step.output = NSString(options.output);
    return record;
}

void printResult(const TWQECS& preset, const TWQECSExportRecord& record,
                 const ExportOptions& options, double mediaSeconds, double elapsedSeconds) {
    if (options.json) {
        Json steps = Json::array();
        for (const TWQECSExportStep& step : record.steps)
            steps.push_back(jsonFromExportStep(step));
        printJson({{"input", options.input},
                   {"output", options.output},
                   {"preset", presetJson(preset)},
                   {"seconds", elapsedSeconds},
                   {"realtime", elapsedSeconds > 0 ? mediaSeconds / elapsedSeconds : 0.0},
                   {"steps", steps}});
        return;
    }
    std::printf("%s: %.3f s exported in %.2f s\n", options.output.c_str(), mediaSeconds,
                elapsedSeconds);
    if (record.steps.size() > 1 || !record.steps.front().rejected.empty())
        std::printf("%s\n", record.description().utf8().c_str());
}

void run(const ExportOptions& options) {
    if (options.id.empty() == options.name.empty())
        throw usageFailure("export", "wants --id or --name");
    const QuietLog quiet;
    const auto reader = TWQECSReader::qecsReaderWithPath(NSString(options.presets));
    if (!reader)
        throw CommandFailure("open " + options.presets, "no preset file (-43)");
    const std::shared_ptr<TWQECS> preset = findPreset(*reader, options);
    const OpenedMovie movie(options.input);
    const Range range = rangeOf(options, movie.movie());
    const double seconds = double(range.duration) / GetMovieTimeScale(movie.movie());
    if (options.dryRun) {
        dryRun(preset, options, movie.movie(), seconds);
        return;
    }
    requireFreeOutput(options.output, options.force);
    ProgressDisplay display(options.progress, seconds);
    const Interrupt interrupt;
    const auto delegate = std::make_shared<TWQECSExportDelegate>();
    delegate->exportCallbackForMovie = [&](Movie, std::int16_t message, std::int16_t,
                                           float fractionDone, NSError*) {
        display.show(static_cast<ProgressDisplay::Message>(message), fractionDone);
        return !interrupt.requested();
    };
    preset->setExportDelegate(delegate);
    SiblingFile sibling(options.output);
    NSError error;
    const bool exported = preset->exportMovie(movie.movie(), NSString(sibling.path()), range.start,
                                              range.duration, &error);
    if (interrupt.requested())
        throw interruptedFailure("export " + options.input);
    if (!exported && error.isNil() && !preset->isInstalled())
        throw notInstalledFailure(options, planExport(preset, movie.movie(), seconds));
    if (!exported)
        throw failureWithError("export " + options.input + " to " + options.output, error);
    sibling.moveToDestination();
    printResult(*preset, recordOf(*preset, sibling, options), options, seconds,
                display.elapsedSeconds());
}

const CommandRegistration registration("export", [](CLI::App& program) {
    CLI::App* command =
        addCommand(program, "export", "Exports a movie with a preset",
                   "twqt export --presets Examples/Presets.qecs --id 1 movie.mov out.mov");
    auto options = std::make_shared<ExportOptions>();
    command->add_option("--presets", options->presets, "the preset file")->required();
    command->add_option("--id", options->id, "identifier of the setting or sequence");
    command->add_option("--name", options->name, "its name");
    addTimeOption(*command, "--start", options->start, "where to begin");
    addTimeOption(*command, "--duration", options->duration, "how much to export");
    command->add_option("INPUT", options->input, "the movie")->required();
    command->add_option("OUTPUT", options->output, "the file to make")->required();
    addForceFlag(*command, options->force);
    command->add_flag("--dry-run", options->dryRun, "only say what would be done");
    addJsonFlag(*command, options->json);
    addProgressOption(*command, options->progress);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
