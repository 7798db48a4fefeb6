#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

extern char** environ;

namespace twqt {
namespace {

using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

constexpr const char* kOffered = "TWQT_TEST_PATTERN=1";
constexpr const char* kNotOffered = "TWQT_TEST_PATTERN=0";
/// No test depends on what is plugged in or running here.
constexpr const char* kNoServer = "PULSE_SERVER=unix:/nowhere";

nlohmann::json jsonOf(const ProgramResult& result) {
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return nlohmann::json::parse(result.output);
}

std::string probe(const std::string& path, const std::string& stream, const std::string& entries) {
    const ProgramResult result =
        runProgram({"ffprobe", "-v", "error", "-count_packets", "-select_streams", stream,
                    "-show_entries", "stream=" + entries, "-of", "csv=p=0", path});
    EXPECT_EQ(result.exitStatus, 0) << path;
    EXPECT_EQ(result.errors, "") << path;
    return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
}

/// `twqt record` from the test pattern until it is told otherwise.
class RunningRecord {
  public:
    explicit RunningRecord(const std::string& output) : output_(output) {
        std::vector<std::string> arguments = {TWQT_PROGRAM, "record",       "--test-pattern",
                                              "--device",   "Test Pattern", output};
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        EXPECT_EQ(posix_spawn(&process_, TWQT_PROGRAM, nullptr, nullptr, argv.data(), environ), 0);
    }
    ~RunningRecord() { end(SIGKILL); }
    RunningRecord(const RunningRecord&) = delete;
    RunningRecord& operator=(const RunningRecord&) = delete;

    /// Waits until the file has so many bytes.
    void waitForBytes(std::uintmax_t count) {
        std::error_code missing;
        while (!std::filesystem::exists(output_) ||
               std::filesystem::file_size(output_, missing) < count)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    /// @return the exit status, 128 + signal number when that ended it
    int end(int signalNumber) {
        if (process_ <= 0)
            return -1;
        kill(process_, signalNumber);
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

  private:
    std::string output_;
    pid_t process_ = -1;
};

TEST(DevicesCommand, ListsTheTestPatternWhenTheEnvironmentAsksForIt) {
    const auto offered = jsonOf(runTwqt({"devices", "--json"}, {kOffered, kNoServer}));
    nlohmann::json video, sound;
    for (const auto& input : offered) {
        if (input["Device Name Unique"] == "Colour Bars (Test Pattern)")
            video = input;
        if (input["Device Name Unique"] == "1 kHz Tone (Test Pattern)")
            sound = input;
    }
    EXPECT_EQ(video["Device Name"], "Test Pattern");
    EXPECT_EQ(video["Device Index"], 0);
    EXPECT_TRUE(video["Device Selected"].is_boolean());
    EXPECT_EQ(video["Device Input Name"], "Colour Bars");
    EXPECT_EQ(sound["Device Input Name"], "1 kHz Tone");
    for (const auto& input : jsonOf(runTwqt({"devices", "--json"}, {kNotOffered, kNoServer})))
        EXPECT_NE(input["Device Name"], "Test Pattern");
}

TEST(DevicesCommand, ListsOneKindOnRequestAndATableForPeople) {
    const auto sounds =
        jsonOf(runTwqt({"devices", "--audio", "--json", "--test-pattern"}, {kNoServer}));
    for (const auto& input : sounds)
        EXPECT_NE(input["Device Input Name"], "Colour Bars");
    const ProgramResult table = runTwqt({"devices", "--video"}, {kOffered, kNoServer});
    EXPECT_EQ(table.exitStatus, 0);
    EXPECT_NE(table.output.find("Uncompressed Colour Bars"), std::string::npos);
    EXPECT_EQ(table.output.find("1 kHz Tone"), std::string::npos);
}

TEST(RecordCommand, RecordsPictureAndSoundThatOthersAndWeFindRight) {
    const TemporaryDirectory folder;
    const std::string movie = folder.file("pattern.mov");
    const ProgramResult result = runTwqt(
        {"record", "--device", "Test Pattern", "--for", "1.2", movie}, {kOffered, kNoServer});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.output, "");
    // How many pictures there are is a matter of how busy this machine is.
    EXPECT_EQ(probe(movie, "v:0", "codec_name,width,height"), "mjpeg,640,480");
    EXPECT_EQ(probe(movie, "a:0", "codec_name,sample_rate,channels"), "pcm_s16le,48000,2");
    EXPECT_GE(std::stoi(probe(movie, "v:0", "nb_frames")), 1);
    const auto info = jsonOf(runTwqt({"info", "--json", movie}));
    EXPECT_GE(info["duration"].get<double>(), 0.5);
    ASSERT_EQ(info["tracks"].size(), 2u);
    EXPECT_EQ(info["tracks"][0]["codec"], "jpeg");
    EXPECT_EQ(info["tracks"][0]["width"], 640);
    EXPECT_EQ(info["tracks"][1]["codec"], "sowt");
    EXPECT_EQ(probe(movie, "v:0", "nb_frames"),
              std::to_string(info["tracks"][0]["samples"].get<int>()));
    EXPECT_EQ(
        runProgram({"ffmpeg", "-v", "error", "-xerror", "-i", movie, "-f", "null", "-"}).errors,
        "");
}

TEST(RecordCommand, RecordsTheInputThatIsNamed) {
    const TemporaryDirectory folder;
    const std::string movie = folder.file("raw.mov");
    const ProgramResult result = runTwqt({"record", "--test-pattern", "--device", "Test Pattern",
                                          "--input", "1", "--for", "0.2", movie},
                                         {kNoServer});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(probe(movie, "v:0", "codec_name,pix_fmt"), "rawvideo,yuyv422");
}

TEST(RecordCommand, AKilledRecordingOpensWithWhatWasRecorded) {
    const TemporaryDirectory folder;
    int index = 0;
    double longest = 0;
    for (const std::uintmax_t bytes : {1u, 1000u, 200'000u, 400'000u, 700'000u}) {
        const std::string movie = folder.file("killed" + std::to_string(index++) + ".mov");
        RunningRecord recording(movie);
        recording.waitForBytes(bytes);
        EXPECT_EQ(recording.end(SIGKILL), 128 + SIGKILL);
        const auto info = jsonOf(runTwqt({"info", "--json", movie}));
        ASSERT_EQ(info["tracks"].size(), 2u);
        longest = std::max(longest, info["duration"].get<double>());
        const ProgramResult probed = runProgram({"ffprobe", "-v", "error", movie});
        EXPECT_EQ(probed.exitStatus, 0) << bytes;
        if (info["duration"].get<double>() > 0) {
            EXPECT_EQ(probe(movie, "v:0", "codec_name"), "mjpeg");
            EXPECT_EQ(
                runProgram({"ffmpeg", "-v", "error", "-xerror", "-i", movie, "-f", "null", "-"})
                    .errors,
                "");
            const std::string picture = folder.file("frame.png");
            EXPECT_EQ(runTwqt({"frame", movie, "-o", picture, "--time", "0.2"}).exitStatus, 0);
            std::filesystem::remove(picture);
        }
    }
    EXPECT_GE(longest, 0.4);
}

TEST(RecordCommand, CtrlCEndsTheRecordingAndKeepsAnOrdinaryMovie) {
    const TemporaryDirectory folder;
    const std::string movie = folder.file("stopped.mov");
    RunningRecord recording(movie);
    recording.waitForBytes(100'000);
    EXPECT_EQ(recording.end(SIGINT), 130);
    EXPECT_GE(jsonOf(runTwqt({"info", "--json", movie}))["duration"].get<double>(), 0.3);
    EXPECT_GE(std::stoi(probe(movie, "v:0", "nb_frames")), 8);
}

TEST(RecordCommand, OverwritesNothingWithoutForce) {
    const TemporaryDirectory folder;
    const std::string movie = folder.file("there.mov");
    std::ofstream(movie) << "precious";
    const std::vector<std::string> command = {
        "record", "--test-pattern", "--device", "Test Pattern", "--for", "0.1", movie};
    EXPECT_EQ(runTwqt(command, {kNoServer}).exitStatus, 1);
    EXPECT_EQ(std::filesystem::file_size(movie), 8u);
    std::vector<std::string> forced = command;
    forced.emplace_back("--force");
    EXPECT_EQ(runTwqt(forced, {kNoServer}).exitStatus, 0);
    EXPECT_EQ(runProgram({"ffprobe", "-v", "error", movie}).exitStatus, 0);
}

TEST(RecordCommand, SaysWhatIsWrongInOneLine) {
    const TemporaryDirectory folder;
    const std::string movie = folder.file("none.mov");
    ProgramResult result =
        runTwqt({"record", "--device", "Nobody", movie}, {kNotOffered, kNoServer});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "twqt: record from Nobody : no such capture device (-9400)\n");
    result = runTwqt(
        {"record", "--test-pattern", "--device", "Test Pattern", "--sound-device", "Nobody", movie},
        {kNoServer});
    EXPECT_EQ(result.errors, "twqt: record from Nobody : no such capture device (-9400)\n");
    result =
        runTwqt({"record", "--test-pattern", "--device", "Test Pattern", "--input", "7", movie},
                {kNoServer});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(runTwqt({"record", movie}).exitStatus, 2);
    EXPECT_FALSE(std::filesystem::exists(movie));
}

}  // namespace
}  // namespace twqt
