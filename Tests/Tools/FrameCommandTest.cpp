#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using Json = nlohmann::json;
using ::testing::HasSubstr;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

class FrameCommand : public testing::Test {
  protected:
    FrameCommand() : movie_(folder_.file("a.mov")) {
        // Sound goes on for a second after the pictures.
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=2", "-f", "lavfi", "-i",
                   "sine=d=3", "-c:v", "mjpeg", "-timecode", "01:00:00:00", movie_});
    }
    std::string sizeOf(const std::string& picture) {
        return runProgram({"ffprobe", "-v", "error", "-show_entries",
                           "stream=codec_name,width,height", "-of", "csv=p=0", picture})
            .output;
    }
    TemporaryDirectory folder_;
    std::string movie_;
};

TEST_F(FrameCommand, WritesTheFrameOfATimeAtASize) {
    const std::string output = folder_.file("f.png");
    const ProgramResult result = runTwqt(
        {"frame", movie_, "--time", "00:00:01:00@25", "--size", "32x20", "-o", output, "--json"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(Json::parse(result.output), Json({{"width", 32}, {"height", 20}, {"time", 1.0}}));
    EXPECT_EQ(sizeOf(output), "png,32,20\n");
}

TEST_F(FrameCommand, WritesAPosterOfTheMoviesSize) {
    const std::string output = folder_.file("p.png");
    const ProgramResult result = runTwqt({"poster", movie_, "-o", output, "--json"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(Json::parse(result.output), Json({{"width", 64}, {"height", 48}, {"time", nullptr}}));
    EXPECT_EQ(sizeOf(output), "png,64,48\n");
}

TEST_F(FrameCommand, DrawsAStoryboardOfTheMoviesPictures) {
    const std::string output = folder_.file("s.png");
    const ProgramResult result =
        runTwqt({"storyboard", movie_, "-o", output, "--columns", "2", "--rows", "2", "--json"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(Json::parse(result.output), Json({{"width", 516}, {"height", 448}, {"frames", 4}}));
    // The last frame, at 1.75 s, is a picture: sound that goes on does not spread the frames.
    const std::string cell = folder_.file("cell.gray");
    runFfmpeg(
        {"-i", output, "-vf", "crop=240:180:264:230", "-f", "rawvideo", "-pix_fmt", "gray", cell});
    std::ifstream file(cell, std::ios::binary);
    const std::string grey((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    EXPECT_GT(std::set<char>(grey.begin(), grey.end()).size(), 40u);
}

// The matrix of some cameras turns a picture about the origin, which puts it left of it.
TEST_F(FrameCommand, DrawsPicturesThatLieBesideTheOrigin) {
    const std::string turned = folder_.file("turned.mp4");
    std::string bytes;
    {
        runFfmpeg(
            {"-i", movie_, "-an", "-dn", "-map_metadata", "-1", "-c", "copy", "-f", "mov", turned});
        std::ifstream in(turned, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
    }
    const std::size_t header = bytes.find("tkhd");
    ASSERT_NE(header, std::string::npos);
    constexpr std::size_t kMatrixInHeader = 4 + 40;
    const std::string one("\0\1\0\0", 4), minusOne("\xFF\xFF\0\0", 4), zero(4, '\0');
    bytes.replace(header + kMatrixInHeader, 32,
                  zero + one + zero + minusOne + zero + zero + zero + zero);
    std::ofstream(turned, std::ios::binary) << bytes;

    for (const char* command : {"frame", "poster", "storyboard"}) {
        const std::string output = folder_.file(std::string(command) + ".png");
        ASSERT_EQ(runTwqt({command, turned, "-o", output}).exitStatus, 0) << command;
        // Black would have a standard deviation of 0 in all channels.
        const ProgramResult seen = runProgram(
            {"ffmpeg", "-v", "error", "-i", output, "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
        EXPECT_GT(std::set<char>(seen.output.begin(), seen.output.end()).size(), 100u) << command;
    }
    EXPECT_EQ(sizeOf(folder_.file("frame.png")), "png,48,64\n");
}

TEST_F(FrameCommand, SaysWhatCannotBeDone) {
    EXPECT_EQ(runTwqt({"frame", folder_.file("none.mov"), "-o", folder_.file("x.png")}).exitStatus,
              1);
    const ProgramResult noTrack =
        runTwqt({"frame", movie_, "--track", "77", "-o", folder_.file("x.png")});
    EXPECT_EQ(noTrack.exitStatus, 1);
    EXPECT_THAT(noTrack.errors, HasSubstr("find track 77 of " + movie_));
    EXPECT_EQ(
        runTwqt({"storyboard", movie_, "-o", folder_.file("x.png"), "--columns", "0"}).exitStatus,
        2);
    std::ofstream(folder_.file("kept.png")) << "kept";
    EXPECT_EQ(runTwqt({"poster", movie_, "-o", folder_.file("kept.png")}).exitStatus, 1);
    EXPECT_EQ(std::filesystem::file_size(folder_.file("kept.png")), 4u);
    EXPECT_FALSE(std::filesystem::exists(folder_.file("x.png")));
}

}  // namespace
}  // namespace twqt
