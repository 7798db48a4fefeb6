// What an export leaves behind when it is killed or cancelled at any of its moments.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "RunningProgram.h"
#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::RunningProgram;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

class ExportInterruption : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=160x120:r=25:d=2", "-f", "lavfi", "-i",
                   "sine=440:r=48000:d=2", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "aac",
                   media_->file("source.mov")});
    }
    static void TearDownTestSuite() { delete media_; }

    std::vector<std::string> exportCommand(const std::string& id, const std::string& output,
                                           const std::string& presets = TWQT_EXAMPLES
                                           "/Presets.qecs") const {
        return {"env",        "TMPDIR=" + temporary_.path().string(),
                TWQT_PROGRAM, "export",
                "--presets",  presets,
                "--id",       id,
                "--force",    "--progress",
                "lines",      media_->file("source.mov"),
                output};
    }
    /// Sends the signal after so many lines of progress, 0: before the first.
    static int signalledAfter(int lines, int number, const std::vector<std::string>& command) {
        RunningProgram program(command);
        for (int i = 0; i < lines && program.nextErrorLine(); ++i) {
        }
        program.signal(number);
        return program.wait();
    }
    static int linesOf(const std::vector<std::string>& command) {
        RunningProgram program(command);
        int lines = 0;
        while (program.nextErrorLine())
            ++lines;
        return lines;
    }
    static std::string contentOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static bool isWholeMovie(const std::string& path) {
        const ProgramResult result = runProgram(
            {"ffmpeg", "-v", "error", "-nostdin", "-xerror", "-i", path, "-f", "null", "-"});
        return result.exitStatus == 0 && result.errors.empty();
    }
    static std::vector<std::string> namesIn(const fs::path& folder) {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename());
        return names;
    }

    static inline TemporaryDirectory* media_ = nullptr;
    TemporaryDirectory folder_;
    TemporaryDirectory temporary_;
};

/// A few of the moments, the first and the last ones among them.
std::vector<int> momentsOf(int lines) {
    std::vector<int> moments = {0, 1, 2, 3};
    for (int moment = 5; moment < lines - 2; moment = moment * 3 / 2)
        moments.push_back(moment);
    for (int moment = std::max(4, lines - 2); moment <= lines; ++moment)
        moments.push_back(moment);
    return moments;
}

TEST_F(ExportInterruption, KilledAtAnyMomentItLeavesTheOldDestinationOrTheWholeNewOne) {
    const std::string output = folder_.file("out.mov");
    const auto command = exportCommand("mjpeg", output);
    const int lines = linesOf(command);
    ASSERT_GT(lines, 10);
    int oldOnes = 0;
    for (const int moment : momentsOf(lines)) {
        std::ofstream(output, std::ios::trunc) << "precious";
        signalledAfter(moment, SIGKILL, command);
        if (contentOf(output) == "precious")
            ++oldOnes;
        else
            EXPECT_TRUE(isWholeMovie(output)) << "killed after line " << moment;
    }
    EXPECT_GT(oldOnes, 3);
}

TEST_F(ExportInterruption, KilledAtAnyMomentItLeavesNothingUnderAFreeNameOrTheWholeMovie) {
    const std::string output = folder_.file("out.mov");
    const auto command = exportCommand("archive", output);
    const int lines = linesOf(command);
    ASSERT_GT(lines, 10);
    int nothing = 0;
    for (const int moment : momentsOf(lines)) {
        fs::remove(output);
        signalledAfter(moment, SIGKILL, command);
        if (!fs::exists(output))
            ++nothing;
        else
            EXPECT_TRUE(isWholeMovie(output)) << "killed after line " << moment;
    }
    EXPECT_GT(nothing, 3);
}

TEST_F(ExportInterruption, CancelledItLeavesTheOldDestinationAndNothingBesideIt) {
    const std::string output = folder_.file("out.mov");
    for (const int moment : {1, 2, 7}) {
        std::ofstream(output, std::ios::trunc) << "precious";
        EXPECT_EQ(signalledAfter(moment, SIGINT, exportCommand("mjpeg", output)), 130);
        EXPECT_EQ(contentOf(output), "precious");
        EXPECT_THAT(namesIn(folder_.path()), ElementsAre("out.mov"));
    }
}

TEST_F(ExportInterruption, CancelledInAnyStepASequenceTakesItsTemporaryFilesAlong) {
    const std::string output = folder_.file("out.mov");
    const auto command = exportCommand("archive", output);
    const int lines = linesOf(command);
    fs::remove(output);
    for (const int moment : {1, lines / 4, lines * 3 / 4}) {
        EXPECT_EQ(signalledAfter(moment, SIGINT, command), 130) << moment;
        EXPECT_THAT(namesIn(folder_.path()), IsEmpty()) << moment;
        EXPECT_THAT(namesIn(temporary_.path()), IsEmpty()) << moment;
    }
}

TEST_F(ExportInterruption, ACancelledSequenceOfImagesTakesAllItsImagesAlong) {
    TemporaryDirectory elsewhere;
    const std::string presets = elsewhere.file("images.qecs");
    ASSERT_EQ(runTwqt({"presets", "add", presets, "--id", "images", "--name", "Images",
                       "--exporter", "grex"})
                  .exitStatus,
              0);
    const auto command = exportCommand("images", folder_.file("shot.png"), presets);
    EXPECT_EQ(signalledAfter(20, SIGINT, command), 130);
    EXPECT_THAT(namesIn(folder_.path()), IsEmpty());
    EXPECT_GT(linesOf(command), 20);
    EXPECT_TRUE(fs::exists(folder_.file("shot.png")));
    EXPECT_EQ(namesIn(folder_.path()).size(), 50u);
}

TEST_F(ExportInterruption, AFinishedExportLeavesNoTemporaryDirectory) {
    EXPECT_GT(linesOf(exportCommand("archive", folder_.file("out.mov"))), 0);
    EXPECT_THAT(namesIn(temporary_.path()), IsEmpty());
    EXPECT_THAT(namesIn(folder_.path()), ElementsAre("out.mov"));
}

}  // namespace
}  // namespace twqt
