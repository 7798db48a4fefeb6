// What `twqt info` says of a movie, in the eyes of three other programs: ffprobe, mediainfo and
// exiftool.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "MovieRecipes.h"
#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using nlohmann::json;
using TWQuickTime::test::MovieRecipe;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runProgram;

std::string outputOf(const std::vector<std::string>& command) {
    const ProgramResult result = runProgram(command);
    EXPECT_EQ(result.exitStatus, 0) << command[0] << ": " << result.errors;
    return result.output;
}

json jsonOf(const std::vector<std::string>& command) {
    return json::parse(outputOf(command), nullptr, false);
}

json infoOf(const std::string& movie) {
    return jsonOf({TWQT_PROGRAM, "info", movie, "--json"});
}

const json* trackWithID(const json& info, int id) {
    const auto found = std::find_if(info["tracks"].begin(), info["tracks"].end(),
                                    [id](const json& track) { return track["id"] == id; });
    return found == info["tracks"].end() ? nullptr : &*found;
}

bool isFragmented(const std::string& movie) {
    std::ifstream file(movie, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    return bytes.find("moof") != std::string::npos;
}

json exiftoolOf(const std::string& movie) {
    return jsonOf({"exiftool", "-j", "-n", "-G1", movie})[0];
}

double longestTrack(const json& info) {
    double longest = 0;
    for (const json& track : info["tracks"])
        longest = std::max(longest, track["duration"].get<double>());
    return longest;
}

/// Of such a movie the tracks count.
bool headerContradictsTracks(const std::string& movie, const json& info) {
    return std::abs(exiftoolOf(movie)["QuickTime:Duration"].get<double>() - longestTrack(info)) >
           0.002;
}

double lengthOfEdits(const json& track) {
    double length = 0;
    for (const json& edit : track["edits"])
        length += edit["duration"].get<double>();
    return length;
}

bool showsAllSamples(const json& track) {
    return track["edits"].size() == 1 && track["edits"][0]["mediaTime"] == 0.0 &&
           track["edits"][0]["rate"] == 1.0;
}

void expectAgreementWithFfprobe(const std::string& movie, const json& info) {
    const json probed = jsonOf(
        {"ffprobe", "-v", "error", "-of", "json", "-show_entries",
         "format=duration:stream=id,codec_tag_string,nb_frames,time_base,codec_type", movie});
    EXPECT_EQ(probed["streams"].size(), info["tracks"].size());
    // ffprobe believes the movie's header.
    if (!headerContradictsTracks(movie, info)) {
        EXPECT_NEAR(std::stod(probed["format"]["duration"].get<std::string>()),
                    info["duration"].get<double>(), 0.1);
    }
    for (const json& stream : probed["streams"]) {
        const json* track =
            trackWithID(info, std::stoi(stream["id"].get<std::string>(), nullptr, 16));
        ASSERT_TRUE(track);
        const auto tag = stream["codec_tag_string"].get<std::string>();
        if (tag.size() == 4) {
            EXPECT_EQ((*track)["codec"], tag);
        }
        EXPECT_EQ("1/" + std::to_string((*track)["timeScale"].get<int>()), stream["time_base"]);
        // It counts samples of the movie atom alone.
        if (stream.contains("nb_frames") && !isFragmented(movie)) {
            EXPECT_EQ(std::to_string((*track)["samples"].get<int>()), stream["nb_frames"]);
        }
    }
}

void expectAgreementWithMediainfo(const std::string& movie, const json& info) {
    const json said = jsonOf({"mediainfo", "--Output=JSON", movie})["media"]["track"];
    for (const json& part : said) {
        if (part["@type"] == "General") {
            EXPECT_NEAR(std::stod(part["Duration"].get<std::string>()),
                        info["duration"].get<double>(), 0.1);
            continue;
        }
        // Menus of chapters, and what lies inside another stream, have no number of their own.
        const std::string id = part.value("ID", "");
        if (id.empty() || id.find_first_not_of("0123456789") != std::string::npos)
            continue;
        const json* track = trackWithID(info, std::stoi(id));
        ASSERT_TRUE(track) << part;
        const std::string type = part["@type"];
        if (type == "Video" || type == "Audio") {
            EXPECT_EQ((*track)["type"], type == "Video" ? "vide" : "soun");
            EXPECT_EQ(part.value("CodecID", "").substr(0, 4), (*track)["codec"]);
        }
        // It counts frames that edits show, not samples.
        if (type == "Video" && part.contains("FrameCount") && showsAllSamples(*track)) {
            EXPECT_EQ(std::to_string((*track)["samples"].get<int>()), part["FrameCount"]);
        }
    }
}

struct Edit {
    std::int64_t duration = 0, mediaTime = 0, rate = 0;
    friend bool operator==(const Edit&, const Edit&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Edit& edit) {
        return stream << edit.duration << '/' << edit.mediaTime << '/' << edit.rate;
    }
};

/// The number behind the colon of a line of mediainfo's trace.
std::int64_t numberIn(const std::string& line) {
    return std::stoll(line.substr(line.find(':') + 1));
}

/// The edit lists of the tracks that have one, as mediainfo finds them in the file.
std::vector<std::vector<Edit>> storedEdits(const std::string& movie) {
    std::vector<std::vector<Edit>> lists;
    std::istringstream trace(outputOf({"mediainfo", "--Details=1", movie}));
    for (std::string line; std::getline(trace, line);) {
        if (line.find(" Edit List (") != std::string::npos)
            lists.emplace_back();
        else if (lists.empty())
            continue;
        else if (line.find(" Track duration:") != std::string::npos)
            lists.back().push_back({.duration = numberIn(line)});
        else if (line.find(" Media time:") != std::string::npos)
            lists.back().back().mediaTime = static_cast<std::int32_t>(numberIn(line));
        else if (line.find(" Media rate:") != std::string::npos)
            lists.back().back().rate = numberIn(line);
    }
    return lists;
}

void expectTheStoredEdits(const std::string& movie, const json& info) {
    const auto stored = storedEdits(movie);
    std::size_t next = 0;
    for (const json& track : info["tracks"]) {
        std::vector<Edit> edits;
        for (const json& edit : track["edits"]) {
            const auto units = [](const json& seconds, const json& scale) {
                return std::llround(seconds.get<double>() * scale.get<double>());
            };
            edits.push_back(
                {units(edit["duration"], info["timeScale"]),
                 edit["mediaTime"].is_null() ? -1 : units(edit["mediaTime"], track["timeScale"]),
                 std::llround(edit["rate"].get<double>() * 65536)});
        }
        if (next < stored.size() && edits == stored[next])
            ++next;
    }
    // Tracks without a list in the file are shown with the one that this means.
    EXPECT_EQ(next, stored.size()) << "an edit list that is not shown";
}

void expectAgreementWithExiftool(const std::string& movie, const json& info) {
    const json said = exiftoolOf(movie);
    EXPECT_EQ(said["QuickTime:TimeScale"], info["timeScale"]);
    EXPECT_NEAR(info["duration"].get<double>(), longestTrack(info), 0.002);
    int tracks = 0;
    for (std::size_t number = 1; number <= info["tracks"].size(); ++number) {
        const std::string group = "Track" + std::to_string(number) + ":";
        if (!said.contains(group + "TrackID"))
            continue;
        const json* track = trackWithID(info, said[group + "TrackID"]);
        ASSERT_TRUE(track);
        ++tracks;
        if (said.contains(group + "MediaTimeScale")) {
            EXPECT_EQ(said[group + "MediaTimeScale"], (*track)["timeScale"]);
        }
        for (const char* codec : {"CompressorID", "AudioFormat"}) {
            if (said.contains(group + codec)) {
                EXPECT_EQ(said[group + codec], (*track)["codec"]);
            }
        }
        // Edits count where the track's header contradicts them; fragments are in no header.
        const double stated = said.value(group + "TrackDuration", 0.0);
        const double edited = lengthOfEdits(*track);
        EXPECT_NEAR((*track)["duration"].get<double>(), edited, 0.002);
        if (!isFragmented(movie) && std::abs(stated - edited) < 0.02) {
            EXPECT_NEAR((*track)["duration"].get<double>(), stated, 0.002);
        }
    }
    EXPECT_EQ(tracks, static_cast<int>(info["tracks"].size()));
}

void expectAgreement(const std::string& movie) {
    SCOPED_TRACE(movie);
    const json info = infoOf(movie);
    ASSERT_FALSE(info.is_discarded());
    expectAgreementWithFfprobe(movie, info);
    expectAgreementWithMediainfo(movie, info);
    expectAgreementWithExiftool(movie, info);
    expectTheStoredEdits(movie, info);
}

std::vector<std::string> sampleMovies() {
    std::vector<std::string> movies;
    const std::string folder = TWQuickTime::test::sampleMediaFolder();
    if (folder.empty())
        return movies;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string extension = entry.path().extension();
        for (const char* wanted : {".mov", ".mp4", ".3gp", ".m4a"})
            if (extension == wanted)
                movies.push_back(entry.path());
    }
    std::sort(movies.begin(), movies.end());
    return movies;
}

TEST(InfoAgreement, OfEverySampleMovieWithThreeOtherPrograms) {
    const std::vector<std::string> movies = sampleMovies();
    if (movies.empty())
        GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
    for (const std::string& movie : movies)
        expectAgreement(movie);
}

TEST(InfoAgreement, OfEveryKindOfMovieThatFfmpegWritesWithThreeOtherPrograms) {
    const TWQuickTime::test::TemporaryDirectory directory;
    for (const MovieRecipe& recipe : TWQuickTime::test::movieRecipes())
        expectAgreement(makeMovie(recipe, directory));
}

}  // namespace
}  // namespace twqt
