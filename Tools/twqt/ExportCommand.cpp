// `twqt export`: exports a movie with a setting or a sequence of a preset file.
#include <DataReferences.h>
#include <Handles.h>
#include <Movies.h>
#include <StDataRef.h>
#include <TWQECSReader.h>
#include <TWQECSSetting.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <vector>

#include "Command.h"
#include "CommandFailure.h"
#include "ExporterSettings.h"
#include "FourCharCodeText.h"
#include "Interrupt.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "OutputFile.h"
#include "ProgressDisplay.h"
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

/// A name beside the destination that nobody has, with the same extension; the file that is made
/// there is gone with the object unless it was moved to its place.
class SiblingFile {
  public:
    explicit SiblingFile(const std::string& destination) : destination_(destination) {
        const std::filesystem::path path(destination);
        path_ = (path.parent_path() / ("." + path.stem().string() + "." + std::to_string(getpid()) +
                                       path.extension().string()))
                    .string();
    }
    ~SiblingFile() {
        if (!moved_)
            unlink(path_.c_str());
    }
    SiblingFile(const SiblingFile&) = delete;
    SiblingFile& operator=(const SiblingFile&) = delete;

    const std::string& path() const { return path_; }
    /// A sequence of images has made further files, named after the first one.
    void moveToDestination() {
        const std::filesystem::path from(path_), to(destination_);
        const std::string prefix = from.stem().string() + " ";
        std::vector<std::filesystem::path> companions;
        const auto folder = from.parent_path().empty() ? "." : from.parent_path();
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().filename().string().starts_with(prefix))
                companions.push_back(entry.path());
        for (const auto& companion : companions) {
            const std::string rest = companion.filename().string().substr(prefix.size());
            rename(companion, to.parent_path() / (to.stem().string() + " " + rest));
        }
        rename(from, to);
        moved_ = true;
    }

  private:
    static void rename(const std::filesystem::path& from, const std::filesystem::path& to) {
        std::error_code error;
        std::filesystem::rename(from, to, error);
        if (error)
            throw CommandFailure("write " + to.string(), error.message());
    }

    std::string destination_;
    std::string path_;
    bool moved_ = false;
};

Json presetJson(const TWQECS& preset) {
    return {{"id", jsonFromPropertyList(preset.identifier())},
            {"name", jsonFromString(preset.name())}};
}

void describePlan(const std::shared_ptr<TWQECS>& preset, const ExportOptions& options,
                  double seconds) {
    const bool installed = preset->isInstalled();
    if (options.json)
        printJson({{"input", options.input},
                   {"output", options.output},
                   {"preset", presetJson(*preset)},
                   {"seconds", seconds},
                   {"installed", installed}});
    else
        std::printf(
            "would export %.3f s of %s to %s with %s%s\n", seconds, options.input.c_str(),
            options.output.c_str(),
            preset->name().isNil() ? "a preset without a name" : preset->name().utf8().c_str(),
            installed ? "" : ", which is not installed here");
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
        describePlan(preset, options, seconds);
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
    if (!exported)
        throw failureWithError("export " + options.input + " to " + options.output, error);
    sibling.moveToDestination();
    const double elapsed = display.elapsedSeconds();
    if (options.json)
        printJson({{"input", options.input},
                   {"output", options.output},
                   {"preset", presetJson(*preset)},
                   {"seconds", elapsed},
                   {"realtime", elapsed > 0 ? seconds / elapsed : 0.0}});
    else
        std::printf("%s: %.3f s exported in %.2f s\n", options.output.c_str(), seconds, elapsed);
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
