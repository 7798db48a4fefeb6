// `twqt info`: the structure of a movie.
#include <Movies.h>
#include <TWUQuickTimeMovie.h>
#include <UserData.h>

#include <cstdio>
#include <iostream>

#include "Command.h"
#include "FourCharCodeText.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "TextTable.h"
#include "TimeCodeText.h"
#include "TrackReport.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct InfoOptions {
    std::string file;
    bool json = false;
};

struct ItemReport {
    OSType type = 0;
    int count = 0;
};

struct MovieReport {
    double duration = 0;  ///< seconds
    TimeScale timeScale = 0;
    bool threadSafe = false;
    int loopMode = 0;
    double posterTime = 0;  ///< seconds
    std::optional<std::string> startTimeCode;
    std::vector<ItemReport> userData;
    std::vector<TrackReport> tracks;
};

MovieReport reportMovie(Movie movie) {
    MovieReport report;
    report.timeScale = GetMovieTimeScale(movie);
    report.duration = GetMovieDuration(movie) / double(report.timeScale);
    report.threadSafe = TWUQuickTimeMovie::isMovieThreadSafe(movie);
    report.loopMode = TWUQuickTimeMovie::getLoopModeOfMovie(movie);
    report.posterTime = GetMoviePosterTime(movie) / double(report.timeScale);
    report.startTimeCode = startTimeCodeText(movie);
    const UserData userData = GetMovieUserData(movie);
    for (OSType type = GetNextUserDataType(userData, 0); type != 0;
         type = GetNextUserDataType(userData, type))
        report.userData.push_back({type, CountUserDataType(userData, type)});
    report.tracks = reportTracks(movie);
    return report;
}

Json jsonOfEdit(const EditReport& edit) {
    return {{"trackTime", edit.trackTime},
            {"mediaTime", edit.mediaTime ? Json(*edit.mediaTime) : Json(nullptr)},
            {"duration", edit.duration},
            {"rate", edit.rate}};
}

Json jsonOfCode(OSType code) {
    return code == 0 ? Json(nullptr) : Json(fourCharCodeText(code));
}

Json jsonOfTrack(const TrackReport& track) {
    Json edits = Json::array(), references = Json::array();
    for (const EditReport& edit : track.edits)
        edits.push_back(jsonOfEdit(edit));
    for (const ReferenceReport& reference : track.references)
        references.push_back(
            {{"type", fourCharCodeText(reference.type)}, {"tracks", reference.trackIDs}});
    return {{"id", track.id},
            {"type", jsonOfCode(track.mediaType)},
            {"enabled", track.enabled},
            {"layer", track.layer},
            {"volume", track.volume},
            {"width", track.width},
            {"height", track.height},
            {"start", track.start},
            {"duration", track.duration},
            {"timeScale", track.timeScale},
            {"codec", jsonOfCode(track.codec)},
            {"codecName", track.codecName.empty() ? Json(nullptr) : Json(track.codecName)},
            {"samples", track.sampleCount},
            {"pixelAspectRatio", track.pixelAspectRatio},
            {"edits", edits},
            {"references", references}};
}

Json jsonOfMovie(const MovieReport& movie) {
    Json userData = Json::array(), tracks = Json::array();
    for (const ItemReport& item : movie.userData)
        userData.push_back({{"type", fourCharCodeText(item.type)}, {"count", item.count}});
    for (const TrackReport& track : movie.tracks)
        tracks.push_back(jsonOfTrack(track));
    return {{"duration", movie.duration},
            {"timeScale", movie.timeScale},
            {"threadSafe", movie.threadSafe},
            {"loopMode", movie.loopMode},
            {"posterTime", movie.posterTime},
            {"startTimeCode", movie.startTimeCode ? Json(*movie.startTimeCode) : Json(nullptr)},
            {"userData", userData},
            {"tracks", tracks}};
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string seconds(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f s", value);
    return text;
}

std::string textOfCode(OSType code) {
    return code == 0 ? "-" : fourCharCodeText(code);
}

void printTracks(const MovieReport& movie) {
    using Align = TextTable::Align;
    TextTable table({{"track", Align::right},
                     {"type"},
                     {"on"},
                     {"codec"},
                     {"name"},
                     {"size"},
                     {"start", Align::right},
                     {"duration", Align::right},
                     {"scale", Align::right},
                     {"samples", Align::right},
                     {"edits", Align::right},
                     {"refers to"}});
    for (const TrackReport& track : movie.tracks) {
        std::string references;
        for (const ReferenceReport& reference : track.references)
            for (const std::int32_t id : reference.trackIDs)
                references += (references.empty() ? "" : ", ") + fourCharCodeText(reference.type) +
                              " " + std::to_string(id);
        const bool hasSize = track.width > 0 && track.height > 0;
        table.addRow({std::to_string(track.id), textOfCode(track.mediaType),
                      track.enabled ? "yes" : "no", textOfCode(track.codec), track.codecName,
                      hasSize ? number(track.width) + "x" + number(track.height) : "-",
                      seconds(track.start), seconds(track.duration),
                      std::to_string(track.timeScale), std::to_string(track.sampleCount),
                      std::to_string(track.edits.size()), references});
    }
    table.print();
}

void printMovie(const MovieReport& movie) {
    constexpr const char* kLoopModes[] = {"no", "yes", "back and forth"};
    std::cout << "duration    " << seconds(movie.duration) << '\n'
              << "time scale  " << movie.timeScale << '\n'
              << "poster      " << seconds(movie.posterTime) << '\n'
              << "loops       " << kLoopModes[movie.loopMode] << '\n'
              << "threads     " << (movie.threadSafe ? "any" : "main thread only") << '\n'
              << "timecode    " << movie.startTimeCode.value_or("-") << '\n';
    std::cout << "user data   ";
    if (movie.userData.empty())
        std::cout << '-';
    for (const ItemReport& item : movie.userData)
        std::cout << fourCharCodeText(item.type)
                  << (item.count > 1 ? " (" + std::to_string(item.count) + ") " : " ");
    std::cout << "\n\n";
    printTracks(movie);
}

void run(const InfoOptions& options) {
    const QuietLog quiet;
    const OpenedMovie movie(options.file);
    const MovieReport report = reportMovie(movie.movie());
    if (options.json)
        printJson(jsonOfMovie(report));
    else
        printMovie(report);
}

const CommandRegistration registration("info", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "info", "Structure of a movie", "twqt info movie.mov");
    auto options = std::make_shared<InfoOptions>();
    command->add_option("FILE", options->file, "the movie")->required();
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
