// Movies that are made, changed and copied here, in the eyes of other programs: ffprobe, mediainfo
// and exiftool read them without a complaint, and ffmpeg decodes the same pictures and sound.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "DataReferences.h"
#include "FileReferences.h"
#include "MovieRecipes.h"
#include "MovieStorage.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using nlohmann::json;
using testing::IsEmpty;
using testing::IsSubsetOf;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

using Lines = std::set<std::string>;
/// What programs find fault with, by file.
using Complaints = std::map<std::string, Lines>;

constexpr const char* presets = TWQT_EXAMPLES "/Presets.qecs";
constexpr const char* demonstration = TWQT_EXAMPLES "/Media/Demonstration.mov";

/// Messages that are not about the movie's file: the program has no decoder for a track of
/// timecode, text or tweens. And timecode tracks have the drop-frame flag at every rate, on
/// purpose.
bool isExpected(const std::string& message) {
    return message.find("Unsupported codec with id") != std::string::npos ||
           message.find("Drop frame is only allowed") != std::string::npos;
}

/// Addresses in its messages differ from run to run.
std::string withoutAddresses(std::string message) {
    const std::size_t start = message.find(" @ 0x");
    if (start != std::string::npos)
        message.erase(start, message.find(']', start) - start);
    return message;
}

void addWordsOfFfprobe(const std::string& movie, Complaints& complaints) {
    std::istringstream said(runProgram({"ffprobe", "-v", "warning", "-hide_banner", movie}).errors);
    for (std::string line; std::getline(said, line);)
        if (!isExpected(line))
            complaints[movie].insert("ffprobe: " + withoutAddresses(line));
}

json saidOfAll(std::vector<std::string> command, const std::vector<std::string>& movies) {
    command.insert(command.end(), movies.begin(), movies.end());
    const ProgramResult result = runProgram(command);
    const json said = json::parse(result.output, nullptr, false);
    EXPECT_FALSE(said.is_discarded()) << command[0] << ": " << result.errors;
    return said;
}

void addWordsOfExiftool(const std::vector<std::string>& movies, Complaints& complaints) {
    for (const json& said :
         saidOfAll({"exiftool", "-j", "-a", "-G4", "-validate", "-Warning", "-Error"}, movies)) {
        bool validated = false;
        for (const auto& [name, message] : said.items()) {
            validated = validated || name.ends_with("Validate");
            if (name.ends_with("Warning") || name.ends_with("Error"))
                complaints[said["SourceFile"]].insert("exiftool: " + message.get<std::string>());
        }
        EXPECT_TRUE(validated) << said;
    }
}

void addFaultsIn(const json& part, Lines& faults) {
    if (!part.is_structured())
        return;
    for (const auto& [name, value] : part.items()) {
        if (name == "IsTruncated" || name.starts_with("Conformance"))
            faults.insert("mediainfo: " + name + ' ' + value.dump());
        addFaultsIn(value, faults);
    }
}

void addWordsOfMediainfo(const std::vector<std::string>& movies, Complaints& complaints) {
    json said = saidOfAll({"mediainfo", "--Output=JSON"}, movies);
    if (!said.is_array())
        said = json::array({said});
    EXPECT_EQ(said.size(), movies.size());
    for (const json& file : said)
        addFaultsIn(file, complaints[file["media"]["@ref"]]);
}

Complaints complaintsOf(const std::vector<std::string>& movies) {
    Complaints complaints;
    for (const std::string& movie : movies)
        addWordsOfFfprobe(movie, complaints);
    addWordsOfExiftool(movies, complaints);
    addWordsOfMediainfo(movies, complaints);
    return complaints;
}

/// By streams: of every picture as it is stored, with its times, and of decoded sound in pieces of
/// one length, as a copy's chunks may be cut elsewhere. The program gives fragments of raw sound no
/// sensible times.
std::vector<std::string> pictureAndSoundHashes(const std::string& movie) {
    const ProgramResult result =
        runProgram({"ffmpeg", "-v", "error", "-nostdin", "-i", movie, "-map", "0:v?", "-map",
                    "0:a?", "-c:v", "copy", "-af", "asetnsamples=n=4096:p=0,asetpts=N", "-f",
                    "framehash", "-hash", "crc32", "-"});
    EXPECT_NE(result.output, "") << result.errors;
    std::vector<std::string> lines;
    std::istringstream output(result.output);
    for (std::string line; std::getline(output, line);)
        lines.push_back(line);
    std::ranges::stable_sort(lines, {}, [](const std::string& line) { return line.front(); });
    return lines;
}

struct Written {
    std::string path;
    std::string source;
};

/// All that twqt makes of a movie without changing its pictures and sound.
class Copies {
  public:
    Copies(const std::string& source, const TemporaryDirectory& directory)
        : source_(source), directory_(directory) {
        const json info = json::parse(runTwqt({"info", source, "--json"}).output);
        const auto has = [&](const char* type) {
            return std::ranges::any_of(info["tracks"],
                                       [&](const json& track) { return track["type"] == type; });
        };
        const std::string flat = copy("flat", {"flatten"});
        copy("movie-last", {"flatten", "--movie-last"});
        change(updated("noted", source), {"userdata", "set"}, {"note", "--int", "7"});
        change(updated("noted-flat", flat), {"userdata", "set"}, {"note", "--float", "1.5"});
        if (has("vide"))
            change(updated("timed", source), {"timecode", "add"},
                   {"--start", "01:00:00:00", "--rate", "25"});
        if (has("soun"))
            change(updated("faded", source), {"tween"}, {"--envelope", "0:0,1:1"});
    }
    void addTo(std::vector<Written>& all) const {
        all.insert(all.end(), written_.begin(), written_.end());
    }

  private:
    std::string nameFor(const std::string& what) const {
        return directory_.file(what + '-' + std::filesystem::path(source_).filename().string());
    }
    std::string copy(const std::string& what, std::vector<std::string> command) {
        const std::string path = nameFor(what);
        command.insert(command.end(), {source_, path});
        run(command, path);
        return path;
    }
    std::string updated(const std::string& what, const std::string& from) const {
        std::filesystem::copy_file(from, nameFor(what));
        return nameFor(what);
    }
    void change(const std::string& path, std::vector<std::string> command,
                const std::vector<std::string>& options) {
        command.push_back(path);
        command.insert(command.end(), options.begin(), options.end());
        run(command, path);
    }
    void run(const std::vector<std::string>& command, const std::string& path) {
        const ProgramResult result = runTwqt(command);
        EXPECT_EQ(result.exitStatus, 0) << path << ": " << result.errors;
        written_.push_back({path, source_});
    }

    std::string source_;
    const TemporaryDirectory& directory_;
    std::vector<Written> written_;
};

/// Copies have no faults that their source has not, and are decoded to the same.
void expectGoodCopies(const std::vector<std::string>& sources) {
    const TemporaryDirectory directory;
    std::vector<Written> written;
    std::vector<std::string> movies = sources;
    for (const std::string& source : sources)
        Copies(source, directory).addTo(written);
    for (const Written& copy : written)
        movies.push_back(copy.path);
    Complaints complaints = complaintsOf(movies);
    std::map<std::string, std::vector<std::string>> hashes;
    for (const std::string& source : sources)
        hashes[source] = pictureAndSoundHashes(source);
    for (const Written& copy : written) {
        SCOPED_TRACE(copy.path);
        EXPECT_THAT(complaints[copy.path], IsSubsetOf(complaints[copy.source]));
        EXPECT_EQ(pictureAndSoundHashes(copy.path), hashes[copy.source]);
    }
}

void expectNoComplaints(const std::vector<std::string>& movies) {
    for (const auto& [movie, said] : complaintsOf(movies))
        EXPECT_THAT(said, IsEmpty()) << movie;
}

TEST(WrittenMovies, OfEverySampleAreReadElsewhereWithoutANewComplaint) {
    const std::string folder = TWQuickTime::test::sampleMediaFolder();
    if (folder.empty())
        GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
    std::vector<std::string> movies;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        for (const char* extension : {".mov", ".mp4", ".3gp", ".m4a"})
            if (entry.path().extension() == extension)
                movies.push_back(entry.path());
    expectGoodCopies(movies);
}

TEST(WrittenMovies, OfEveryKindThatFfmpegWritesAreReadElsewhereWithoutANewComplaint) {
    const TemporaryDirectory directory;
    std::vector<std::string> movies;
    for (const TWQuickTime::test::MovieRecipe& recipe : TWQuickTime::test::movieRecipes())
        movies.push_back(makeMovie(recipe, directory));
    expectGoodCopies(movies);
}

TEST(WrittenMovies, ThatAreExportedAreReadElsewhereWithoutAComplaint) {
    const TemporaryDirectory directory;
    std::vector<std::string> exported;
    for (const auto& [id, name] :
         {std::pair{"1", "quicktime.mov"}, {"2", "mpeg4.mp4"}, {"archive", "sequence.mov"}}) {
        exported.push_back(directory.file(name));
        const ProgramResult result = runTwqt({"export", "--presets", presets, "--id", id,
                                              "--duration", "1", demonstration, exported.back()});
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
    }
    expectNoComplaints(exported);
}

TEST(WrittenMovies, ThatAreNewAndGrowTwiceAreReadElsewhereWithoutAComplaint) {
    using namespace TWQuickTime;
    const TemporaryDirectory directory;
    const std::string path = directory.file("new.mov");
    Handle reference = nullptr;
    OSType type = 0;
    QTNewDataReferenceFromFullPathCFString(NSString(path), kQTNativeDefaultPathStyle, 0, &reference,
                                           &type);
    DataHandler storage = nullptr;
    Movie movie = nullptr;
    ASSERT_EQ(CreateMovieStorage(reference, type, fourCC("TVOD"), smSystemScript, newMovieActive,
                                 &storage, &movie),
              noErr);
    DisposeHandle(reference);
    const test::ScopedMovie owner(movie);
    test::addVideoTrack(movie, 25, 50);
    EXPECT_EQ(UpdateMovieInStorage(movie, storage), noErr);
    test::addSoundTrack(movie, 8000, 16000);
    EXPECT_EQ(UpdateMovieInStorage(movie, storage), noErr);
    EXPECT_EQ(CloseMovieStorage(storage), noErr);
    expectNoComplaints({path});
}

}  // namespace
}  // namespace twqt
