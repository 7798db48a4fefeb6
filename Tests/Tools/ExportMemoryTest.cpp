// The memory of an export does not grow with the length of the movie.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

// The sanitizers hold memory back that was freed.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace twqt {
namespace {

using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

class ExportMemory : public testing::Test {
  protected:
    /// The largest resident size of an export of a movie in `folder_`, in KiB.
    long peakKibibytes(const std::string& preset, const std::string& movie) {
        const ProgramResult result =
            runProgram({"/usr/bin/time", "-q", "-f", "%M", "-o", folder_.file("peak"), TWQT_PROGRAM,
                        "export", "--force", "--presets", TWQT_EXAMPLES "/Presets.qecs", "--id",
                        preset, folder_.file(movie), folder_.file("out")});
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        long peak = 0;
        std::ifstream(folder_.file("peak")) >> peak;
        EXPECT_GT(peak, 0);
        return peak;
    }

    /// The movie so many times over, without coding it anew.
    void repeat(const std::string& movie, int times, const std::string& made) {
        runFfmpeg({"-stream_loop", std::to_string(times - 1), "-i", folder_.file(movie), "-c",
                   "copy", folder_.file(made)});
    }

    TemporaryDirectory folder_;
};

// A picture of this size takes 113 KiB decoded; were pictures, packets or what they are written
// from kept, the longer export would take 30 MiB more.
constexpr long kAllowedKibibytes = 6 * 1024;

TEST_F(ExportMemory, OfPicturesStaysAsItIsInAMovieTenTimesAsLong) {
    runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=320x240:r=25:d=4", "-vf", "noise=alls=20:allf=t",
               "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p",
               folder_.file("short.mov")});
    repeat("short.mov", 10, "long.mov");
    EXPECT_LT(peakKibibytes("mjpeg", "long.mov"),
              peakKibibytes("mjpeg", "short.mov") + kAllowedKibibytes);
    EXPECT_GT(std::filesystem::file_size(folder_.file("long.mov")),
              9 * std::filesystem::file_size(folder_.file("short.mov")));
}

TEST_F(ExportMemory, OfSoundStaysAsItIsInAMovieTenTimesAsLong) {
    runFfmpeg({"-f", "lavfi", "-i", "sine=440:r=48000:d=20", "-ac", "2", "-c:a", "aac",
               folder_.file("short.mov")});
    repeat("short.mov", 10, "long.mov");
    EXPECT_LT(peakKibibytes("4", "long.mov"), peakKibibytes("4", "short.mov") + kAllowedKibibytes);
}

}  // namespace
}  // namespace twqt

#endif
