// The movie of the examples, which the demonstration exports.
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using nlohmann::json;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

constexpr const char* movie = TWQT_EXAMPLES "/Media/Demonstration.mov";
constexpr const char* presets = TWQT_EXAMPLES "/Presets.qecs";

TEST(DemonstrationMovie, HasPicturesSoundATimecodeAndAVolumeEnvelope) {
    const json info = json::parse(runTwqt({"info", movie, "--json"}).output);
    EXPECT_EQ(info["startTimeCode"], "10:00:00:00");
    EXPECT_EQ(info["duration"], 8.0);
    std::map<std::string, int> tracks;
    for (const json& track : info["tracks"])
        ++tracks[track["type"]];
    EXPECT_EQ(tracks,
              (std::map<std::string, int>{{"soun", 1}, {"tmcd", 1}, {"twen", 1}, {"vide", 1}}));
}

TEST(DemonstrationMovie, ExportsWithTheSettingAndTheSequenceOfTheDemonstration) {
    const TemporaryDirectory folder;
    for (const auto& [id, name] : {std::pair{"h264-720p", "setting.mp4"}, {"archive", "two.mov"}}) {
        const std::string output = folder.file(name);
        const ProgramResult result =
            runTwqt({"export", "--presets", presets, "--id", id, "--duration", "1", movie, output});
        ASSERT_EQ(result.exitStatus, 0) << result.errors;
        const ProgramResult decoded =
            runProgram({"ffmpeg", "-v", "fatal", "-nostdin", "-xerror", "-i", output, "-map", "0:v",
                        "-map", "0:a", "-f", "null", "-"});
        EXPECT_EQ(decoded.exitStatus, 0) << decoded.errors;
    }
    EXPECT_EQ(json::parse(
                  runTwqt({"timecode", "show", folder.file("two.mov"), "--json"}).output)["start"],
              "10:00:00:00");
}

}  // namespace
}  // namespace twqt
