#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::runProgram;

class MovieCommands : public testing::Test {
  protected:
    MovieCommands() {
        runFfmpeg({"-f", "lavfi", "-i", "testsrc=duration=2:size=64x48:rate=25", "-f", "lavfi",
                   "-i", "sine=duration=2:sample_rate=48000", "-vf", "setsar=16/15", "-c:v",
                   "mjpeg", "-c:a", "pcm_s16le", movie_});
    }

    static json jsonOf(std::vector<std::string> arguments) {
        arguments.push_back("--json");
        const ProgramResult result = runTwqt(arguments);
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return json::parse(result.output, nullptr, false);
    }

    TWQuickTime::test::TemporaryDirectory directory_;
    std::string movie_ = directory_.file("a.mov");
    std::string copy_ = directory_.file("copy.mov");
};

TEST_F(MovieCommands, InfoTellsTheStructure) {
    const json info = jsonOf({"info", movie_});
    EXPECT_EQ(info["duration"], 2.0);
    EXPECT_EQ(info["timeScale"], 1000);
    EXPECT_EQ(info["loopMode"], 0);
    EXPECT_EQ(info["startTimeCode"], nullptr);
    ASSERT_EQ(info["tracks"].size(), 2u);
    const json& video = info["tracks"][0];
    EXPECT_EQ(video["type"], "vide");
    EXPECT_EQ(video["codec"], "jpeg");
    EXPECT_EQ(video["codecName"], "Photo - JPEG");
    EXPECT_EQ(video["samples"], 50);
    EXPECT_NEAR(video["pixelAspectRatio"].get<double>(), 16.0 / 15, 1e-9);
    EXPECT_EQ(video["edits"][0],
              (json{{"trackTime", 0.0}, {"mediaTime", 0.0}, {"duration", 2.0}, {"rate", 1.0}}));
    const json& sound = info["tracks"][1];
    EXPECT_EQ(sound["type"], "soun");
    EXPECT_EQ(sound["codec"], "sowt");
    EXPECT_EQ(sound["samples"], 96000);
    EXPECT_EQ(sound["volume"], 1.0);
    const ProgramResult text = runTwqt({"info", movie_});
    EXPECT_THAT(text.output, HasSubstr("Photo - JPEG"));
    EXPECT_THAT(text.output, StartsWith("duration    2.000 s\n"));
}

TEST_F(MovieCommands, DurationTellsTheMovieAndTheSound) {
    EXPECT_EQ(jsonOf({"duration", movie_}), (json{{"movie", 2.0}, {"audio", 2.0}}));
    EXPECT_EQ(runTwqt({"duration", movie_}).output, "movie  2.000000 s\naudio  2.000000 s\n");
}

TEST_F(MovieCommands, FailInOneLineForFilesThatAreNoMovies) {
    std::ofstream(copy_) << "no movie";
    for (const char* command : {"info", "duration"}) {
        const ProgramResult result = runTwqt({command, copy_});
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_THAT(result.errors, StartsWith("twqt: open " + copy_ + " : "));
        EXPECT_THAT(result.errors, HasSubstr("(-2048)"));
        EXPECT_EQ(result.output, "");
    }
    EXPECT_THAT(runTwqt({"info", "/no/such/file"}).errors, HasSubstr("(-43)"));
    EXPECT_THAT(runTwqt({"tracks", "/no/such/file", "--dispose-disabled"}).errors,
                HasSubstr("(-43)"));
}

TEST_F(MovieCommands, FlattenPutsTheMovieInFront) {
    const ProgramResult result = runTwqt({"flatten", movie_, copy_, "--progress", "lines"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_THAT(result.errors, StartsWith("{\"message\":0,"));
    const auto frames = [](const std::string& path) {
        return runProgram({"ffmpeg", "-v", "error", "-i", path, "-map", "0", "-f", "streamhash",
                           "-hash", "md5", "-"})
            .output;
    };
    EXPECT_EQ(frames(copy_), frames(movie_));
    std::ifstream file(copy_, std::ios::binary);
    std::stringstream contents;
    contents << file.rdbuf();
    EXPECT_LT(contents.str().find("moov"), contents.str().find("mdat"));
    EXPECT_EQ(runTwqt({"flatten", movie_, copy_}).exitStatus, 1);
    EXPECT_EQ(runTwqt({"flatten", movie_, copy_, "--force", "--movie-last"}).exitStatus, 0);
}

TEST_F(MovieCommands, TracksAreRemovedInPlace) {
    EXPECT_EQ(jsonOf({"tracks", movie_, "--dispose-type", "soun"}), (json{{"removed", true}}));
    EXPECT_EQ(jsonOf({"info", movie_})["tracks"].size(), 1u);
    EXPECT_EQ(jsonOf({"tracks", movie_, "--dispose-type", "soun"}), (json{{"removed", false}}));
    EXPECT_EQ(jsonOf({"tracks", movie_, "--dispose-disabled"}), (json{{"removed", false}}));
    EXPECT_EQ(runTwqt({"tracks", movie_}).exitStatus, 2);
}

TEST_F(MovieCommands, TimecodeIsParsedAndFormatted) {
    EXPECT_EQ(jsonOf({"timecode", "parse", "01:02:03:04", "--rate", "25"}),
              (json{{"status", 0},
                    {"hours", 1},
                    {"minutes", 2},
                    {"seconds", 3},
                    {"frames", 4},
                    {"frame", 93079}}));
    EXPECT_EQ(jsonOf({"timecode", "parse", "1;2", "--rate", "25"})["status"], -1);
    EXPECT_EQ(jsonOf({"timecode", "format", "93079", "--rate", "25", "--frames", "--hours"}),
              (json{{"text", "01:02:03:04"}}));
    EXPECT_EQ(runTwqt({"timecode", "format", "93079", "--rate", "25"}).output, "02:03\n");
    EXPECT_EQ(runTwqt({"timecode", "parse", "1", "--rate", "0"}).exitStatus, 2);
}

TEST_F(MovieCommands, TimecodeTracksAreAddedShownAndRemoved) {
    EXPECT_EQ(jsonOf({"timecode", "show", movie_}), (json{{"start", nullptr}}));
    EXPECT_EQ(jsonOf({"timecode", "add", movie_, "--start", "10:00:00:00", "--rate", "30"}),
              (json{{"start", "10:00:00;00"}}));
    EXPECT_EQ(jsonOf({"timecode", "show", movie_}), (json{{"start", "10:00:00;00"}}));
    EXPECT_EQ(runProgram({"ffprobe", "-v", "error", "-select_streams", "d", "-show_entries",
                          "stream_tags=timecode", "-of", "csv=p=0", movie_})
                  .output,
              "10:00:00;00\n");
    EXPECT_EQ(jsonOf({"timecode", "remove", movie_}), (json{{"start", nullptr}}));
    EXPECT_EQ(runTwqt({"timecode", "add", movie_, "--start", "x", "--rate", "30"}).exitStatus, 2);
}

TEST_F(MovieCommands, UserDataAreSetListedAndRemoved) {
    EXPECT_EQ(runTwqt({"userdata", "set", movie_, "abcd", "--int", "-5"}).exitStatus, 0);
    EXPECT_EQ(jsonOf({"userdata", "get", movie_, "abcd", "--int"}), -5);
    EXPECT_EQ(runTwqt({"userdata", "get", movie_, "abcd", "--int"}).output, "-5\n");
    EXPECT_EQ(runTwqt({"userdata", "set", movie_, "flag", "--bool", "true"}).exitStatus, 0);
    EXPECT_EQ(jsonOf({"userdata", "get", movie_, "flag", "--bool"}), true);
    EXPECT_EQ(runTwqt({"userdata", "set", movie_, "real", "--float", "1.0"}).exitStatus, 0);
    EXPECT_EQ(jsonOf({"userdata", "get", movie_, "real", "--float"}), 1065353216.0);
    std::ofstream(directory_.file("bytes")) << "\x01\x02\xFF";
    EXPECT_EQ(
        runTwqt({"userdata", "set", movie_, "data", "--data", directory_.file("bytes")}).exitStatus,
        0);
    EXPECT_EQ(jsonOf({"userdata", "get", movie_, "data"}), "0102ff");
    // Items of other programs come out as they stand: a text with its length and language.
    EXPECT_THAT(jsonOf({"userdata", "get", movie_, "\u00A9swr"}).get<std::string>(),
                ::testing::MatchesRegex("00[0-9a-f]+4c617666.*"));
    EXPECT_EQ(runTwqt({"userdata", "remove", movie_, "abcd"}).exitStatus, 0);
    EXPECT_THAT(runTwqt({"userdata", "get", movie_, "abcd", "--int"}).errors, HasSubstr("(-2026)"));
    EXPECT_THAT(runTwqt({"userdata", "remove", movie_, "abcd"}).errors, HasSubstr("(-2026)"));
    const json list = jsonOf({"userdata", "list", movie_});
    EXPECT_NE(std::find(list.begin(), list.end(), json({{"type", "flag"}, {"count", 1}})),
              list.end());
}

TEST_F(MovieCommands, UserDataHoldDictionaries) {
    std::ofstream(directory_.file("a.plist"))
        << R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
           R"(<key>name</key><string>value</string><key>list</key><array><integer>1</integer>)"
           R"(<true/></array></dict></plist>)";
    ASSERT_EQ(runTwqt({"userdata", "set", movie_, "dict", "--plist", directory_.file("a.plist")})
                  .exitStatus,
              0);
    EXPECT_EQ(jsonOf({"userdata", "get", movie_, "dict", "--plist"}),
              (json{{"name", "value"}, {"list", {1, true}}}));
    EXPECT_EQ(runTwqt({"userdata", "set", movie_, "dict", "--plist", movie_}).exitStatus, 1);
}

TEST_F(MovieCommands, TweensAreAddedToTheSound) {
    const json added = jsonOf({"tween", movie_, "--envelope", "0:0,1:1,2:0"});
    const json info = jsonOf({"info", movie_});
    ASSERT_EQ(info["tracks"].size(), 3u);
    EXPECT_EQ(info["tracks"][2]["id"], added["track"]);
    EXPECT_EQ(info["tracks"][2]["type"], "twen");
    EXPECT_EQ(info["tracks"][2]["samples"], 2);
    EXPECT_EQ(info["tracks"][1]["references"],
              (json::array({{{"type", "ssrc"}, {"tracks", {added["track"]}}}})));
    EXPECT_EQ(runTwqt({"tween", movie_, "--trapezoid", "0,0.5,1,2", "--volume", "0.5"}).exitStatus,
              0);
    EXPECT_EQ(jsonOf({"info", movie_})["tracks"][3]["samples"], 3);
    EXPECT_EQ(runTwqt({"tween", movie_, "--envelope", "1:0,0:1"}).exitStatus, 1);
    EXPECT_EQ(runTwqt({"tween", movie_, "--envelope", "abc"}).exitStatus, 2);
    EXPECT_EQ(runTwqt({"tween", movie_, "--trapezoid", "0,1"}).exitStatus, 2);
    EXPECT_EQ(runTwqt({"tween", movie_}).exitStatus, 2);
    EXPECT_THAT(runTwqt({"tween", movie_, "--envelope", "0:0,1:1", "--audio-track", "9"}).errors,
                HasSubstr("(-2009)"));
}

}  // namespace
}  // namespace twqt
