// A process that is killed in the middle of an export with a setting: under the destination's name
// there is the empty file that the export begins with, or the whole movie, never a part of it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <limits>

#include "Movies.h"
#include "RunProgram.h"
#include "TWQECSSetting.h"
#include "TWUQuickTimeMovie.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

class TWQECSSettingKilledExport : public testing::Test {
  protected:
    void SetUp() override {
        test::runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=1", "-f", "lavfi", "-i",
                         "sine=440:r=48000:d=1", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a",
                         "aac", folder_.file("in.mov")});
    }
    /// Exports in a process of its own, which kills itself at the n-th word of progress.
    /// @return whether it was killed
    bool exportKilledAt(int word) const {
        const pid_t child = fork();
        if (child == 0) {
            exportAndDie(word);
            _exit(0);
        }
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }
    void exportAndDie(int word) const {
        FSSpec file;
        std::int16_t fileNumber = 0;
        OSErr status = noErr;
        const Movie movie = TWUQuickTimeMovie::createMovieFromPath(folder_.file("in.mov"), 1, &file,
                                                                   &fileNumber, &status);
        const auto setting = TWQECSSetting::initWithDictionary(
            NSDictionary{{"SettingID", 1}, {"QTExpComponentSubType", fourCC("MooV")}});
        const auto delegate = std::make_shared<TWQECSExportDelegate>();
        int words = 0;
        delegate->exportCallbackForMovie = [&](Movie, std::int16_t, std::int16_t, float, NSError*) {
            if (++words == word)
                kill(getpid(), SIGKILL);
            return true;
        };
        setting->setExportDelegate(delegate);
        setting->exportMovie(movie, output_, nullptr);
    }

    test::TemporaryDirectory folder_;
    std::string output_ = folder_.file("out.mov");
};

TEST_F(TWQECSSettingKilledExport, LeavesTheEmptyFileOrTheWholeMovieAtEveryMoment) {
    ASSERT_FALSE(exportKilledAt(std::numeric_limits<int>::max())) << "nothing kills this one";
    const auto whole = std::filesystem::file_size(output_);
    ASSERT_GT(whole, 0u);
    int word = 1;
    int empty = 0;
    for (;; word += 3) {
        std::ofstream(output_, std::ios::trunc) << "what was here before";
        if (!exportKilledAt(word))
            break;
        const auto size = std::filesystem::file_size(output_);
        empty += size == 0;
        const std::string complaints = size == 0
                                           ? ""
                                           : test::runProgram({"ffmpeg", "-v", "error", "-xerror",
                                                               "-i", output_, "-f", "null", "-"})
                                                 .errors;
        EXPECT_EQ(complaints, "") << "killed at word " << word;
    }
    EXPECT_GT(word, 20);
    EXPECT_GT(empty, 6);
}

}  // namespace
}  // namespace TWQuickTime
