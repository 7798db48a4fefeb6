// `twqt play`, run as a program without a sound card.
#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "PlayReport.h"
#include "TemporaryDirectory.h"
#include "TwqtProgram.h"
#include "WaveFile.h"

namespace twqt {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::readFloatWave;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;
using TWQuickTime::test::Wave;

std::vector<json> linesOf(const std::string& output) {
    std::vector<json> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(json::parse(line));
    return lines;
}

class PlayCommand : public testing::Test {
  protected:
    PlayCommand() {
        std::vector<std::int16_t> samples(16000);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<std::int16_t>(i);
        TWQuickTime::test::writeWave(sound_, 8000, 1, samples);
    }

    ProgramResult play(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"play", sound_});
        return runTwqt(arguments);
    }

    TemporaryDirectory folder_;
    const std::string sound_ = folder_.file("count.wav");
    const std::string output_ = folder_.file("output.wav");
};

TEST_F(PlayCommand, RendersARangeToTheSample) {
    const ProgramResult result = play({"--in", "0.25", "--out", "1.5", "--render", output_});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.output, "stopped at 1.500 s of 2.000 s\n");
    const Wave wave = readFloatWave(output_);
    ASSERT_EQ(wave.frames(), 10000u);
    for (std::size_t i = 0; i < wave.frames(); ++i)
        ASSERT_EQ(wave.samples[i], static_cast<float>(2000 + i) / 32768.0f);
}

TEST_F(PlayCommand, RendersLapsOfALoopForAsLongAsItIsAsked) {
    const ProgramResult result = play(
        {"--in", "0.25", "--out", "0.5", "--loop", "--for", "3600", "--render", output_, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const Wave wave = readFloatWave(output_);
    ASSERT_EQ(wave.frames(), 3600u * 8000u);
    for (std::size_t i = 0; i < wave.frames(); i += 997)
        ASSERT_EQ(wave.samples[i], static_cast<float>(2000 + i % 2000) / 32768.0f);
}

TEST_F(PlayCommand, PrintsItsEventsAsLinesOfJson) {
    const ProgramResult result =
        play({"--marker", "1.5:late", "--marker", "0.5", "--render", output_, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    std::vector<std::string> events;
    std::vector<json> markers;
    for (const json& line : linesOf(result.output)) {
        events.push_back(line["event"]);
        EXPECT_TRUE(line["time"].is_number());
        if (line["event"] == "marker")
            markers.push_back(line);
    }
    EXPECT_THAT(events, ElementsAre("loadState", "loadState", "loadState", "loadState", "willStart",
                                    "didStart", "marker", "marker", "didStop", "end"));
    ASSERT_EQ(markers.size(), 2u);
    EXPECT_EQ(markers[0]["index"], 0);
    EXPECT_TRUE(markers[0]["name"].is_null());
    EXPECT_EQ(markers[1]["index"], 1);
    EXPECT_EQ(markers[1]["name"], "late");
    EXPECT_NEAR(markers[1]["time"].get<double>(), 1.5, 0.0012);
    EXPECT_GE(markers[1]["lateness"].get<double>(), 0.0);
    EXPECT_LT(markers[1]["lateness"].get<double>(), 0.0012);
}

TEST_F(PlayCommand, SaysWhichMarkersCame) {
    const ProgramResult result =
        play({"--marker", "00:00:00:12@25:half a second", "--render", output_});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("marker 0 half a second at 0.480 s, 0.0 ms late\n"));
}

TEST_F(PlayCommand, AppliesVolumeAndGamma) {
    EXPECT_EQ(play({"--volume", "0.5", "--gamma", "1", "--render", output_}).exitStatus, 0);
    const Wave wave = readFloatWave(output_);
    EXPECT_NEAR(wave.samples[8000], 0.5 * 8000 / 32768, 1e-5);
    EXPECT_EQ(play({"--reference", "0.5", "--render", output_, "--force"}).exitStatus, 0);
    const Wave other = readFloatWave(output_);
    EXPECT_NEAR(other.samples[8000], std::pow(0.5, 2.2) * 8000 / 32768, 1e-5);
}

TEST_F(PlayCommand, AppliesAnEnvelope) {
    EXPECT_EQ(play({"--envelope", "0:1,2:0", "--gamma", "1", "--render", output_}).exitStatus, 0);
    const Wave wave = readFloatWave(output_);
    for (std::size_t i = 400; i < 16000; i += 100) {
        const double volume = 1 - static_cast<double>(i) / 16000;
        EXPECT_NEAR(wave.samples[i], volume * static_cast<double>(i) / 32768, 0.015 * 0.5) << i;
    }
}

TEST_F(PlayCommand, FadesOutAndStops) {
    const ProgramResult result =
        play({"--fade-at", "0.5", "--fade", "0.5", "--fade-stop", "--render", output_, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const auto lines = linesOf(result.output);
    EXPECT_EQ(lines.back()["event"], "didStop");
    EXPECT_EQ(lines.back()["atEnd"], false);
    EXPECT_NEAR(lines.back()["time"].get<double>(), 1.0, 0.03);
    const Wave wave = readFloatWave(output_);
    EXPECT_NEAR(static_cast<double>(wave.frames()), 8000, 200);
    EXPECT_EQ(wave.samples[3900], 3900 / 32768.0f);
    EXPECT_LT(wave.samples[7900], 0.001);
}

TEST_F(PlayCommand, PlaysOnTheSilentDeviceInRealTime) {
    const auto start = std::chrono::steady_clock::now();
    const ProgramResult result = play({"--device", "silent", "--for", "0.2", "--json"});
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_GE(elapsed.count(), 0.2);
    EXPECT_LE(linesOf(result.output).back()["time"].get<double>(), elapsed.count());
}

TEST_F(PlayCommand, RefusesWhatCannotBePlayed) {
    const std::string notes = folder_.file("notes.txt");
    std::ofstream(notes) << "Not a note.\n";
    ProgramResult result = runTwqt({"play", notes, "--render", output_});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("twqt: open " + notes));
    result = runTwqt({"play", folder_.file("missing.wav")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("-43"));
    const std::string pictures = folder_.file("pictures.mov");
    runFfmpeg({"-f", "lavfi", "-i", "testsrc=d=0.2", "-c:v", "mjpeg", pictures});
    result = runTwqt({"play", pictures, "--render", output_});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("there is no sound in it"));
}

TEST_F(PlayCommand, RefusesWrongUsage) {
    const std::vector<std::vector<std::string>> lines = {
        {"--fade", "1"},      {"--fade-at", "1"},     {"--fade-stop"},
        {"--marker", "soon"}, {"--envelope", "loud"}, {"--loop", "--render", output_},
        {"--volume", "2"},    {"--in", "now"},        {"--device", "no such output"},
    };
    for (const auto& arguments : lines)
        EXPECT_EQ(play(arguments).exitStatus, 2) << arguments[0];
    EXPECT_FALSE(std::filesystem::exists(output_));
}

TEST_F(PlayCommand, OverwritesNothingWithoutForce) {
    std::ofstream(output_) << "kept";
    const ProgramResult result = play({"--render", output_});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(std::filesystem::file_size(output_), 4u);
}

TEST_F(PlayCommand, PlaysEverySampleFileWithSound) {
    const std::string folder = TWQuickTime::test::sampleMediaFolder();
    if (folder.empty())
        GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
    int played = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string path = entry.path().string();
        const ProgramResult probe = TWQuickTime::test::runProgram(
            {"ffprobe", "-v", "error", "-select_streams", "a", "-show_entries",
             "stream=codec_name,sample_rate:format=duration", "-of", "json", path});
        const json found = json::parse(probe.output, nullptr, false);
        if (probe.exitStatus != 0 || found.is_discarded() || !found.contains("streams") ||
            found["streams"].empty())
            continue;
        const ProgramResult result =
            runTwqt({"play", path, "--render", output_, "--force", "--json"});
        EXPECT_EQ(result.exitStatus, 0) << path << "\n" << result.errors;
        const Wave wave = readFloatWave(output_);
        EXPECT_GT(wave.frames(), 0u) << path;
        const ProgramResult inRealTime =
            runTwqt({"play", path, "--device", "silent", "--for", "0.1"});
        EXPECT_EQ(inRealTime.exitStatus, 0) << path << "\n" << inRealTime.errors;
        ++played;
    }
    EXPECT_GT(played, 5);
}

TEST(PlayReport, DrawsTimeLevelAndState) {
    EXPECT_EQ(liveLineText({62.59, 125.0, 1.0f, "playing"}),
              "1:02.5 / 2:05.0  [####################]   0.0 dB  playing");
    EXPECT_EQ(liveLineText({0, 1, 0.0f, "stopped"}),
              "0:00.0 / 0:01.0  [--------------------]  -inf dB  stopped");
    EXPECT_EQ(liveLineText({0.3, 1, 0.0316227766f, "playing"}),
              "0:00.3 / 0:01.0  [##########----------] -30.0 dB  playing");
}

}  // namespace
}  // namespace twqt
