#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using Json = nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

class ImageCommand : public testing::Test {
  protected:
    ImageCommand() : picture_(folder_.file("a.jpg")) {
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=160x120:d=0.04", "-frames:v", "1", picture_});
    }
    TemporaryDirectory folder_;
    std::string picture_;
};

TEST_F(ImageCommand, TellsTheSizeAndWhetherTheNameIsOneToOpen) {
    const ProgramResult result = runTwqt({"image", "info", picture_, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(Json::parse(result.output),
              Json({{"width", 160}, {"height", 120}, {"canOpen", true}}));
    std::filesystem::copy_file(picture_, folder_.file("a.bmp"));
    EXPECT_EQ(
        Json::parse(runTwqt({"image", "info", folder_.file("a.bmp"), "--json"}).output)["canOpen"],
        false);
    EXPECT_THAT(runTwqt({"image", "info", picture_}).output, HasSubstr("160x120"));
}

TEST_F(ImageCommand, WritesThePictureStretchedToASize) {
    const std::string output = folder_.file("b.png");
    const ProgramResult result =
        runTwqt({"image", "load", picture_, "--size", "50x90", "-o", output});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const auto probed = runProgram({"ffprobe", "-v", "error", "-show_entries",
                                    "stream=codec_name,width,height", "-of", "csv=p=0", output});
    EXPECT_EQ(probed.output, "png,50,90\n");
}

TEST_F(ImageCommand, OverwritesNothingWithoutForce) {
    const std::string output = folder_.file("b.png");
    std::ofstream(output) << "kept";
    const ProgramResult refused = runTwqt({"image", "load", picture_, "-o", output});
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_EQ(std::filesystem::file_size(output), 4u);
    EXPECT_EQ(runTwqt({"image", "load", picture_, "-o", output, "--force"}).exitStatus, 0);
    EXPECT_GT(std::filesystem::file_size(output), 100u);
}

TEST_F(ImageCommand, RefusesWhatIsNoPictureInOneLine) {
    std::ofstream(folder_.file("a.png")) << "no picture";
    const ProgramResult result = runTwqt(
        {"image", "load", folder_.file("a.png"), "--size", "4x4", "-o", folder_.file("c.png")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, StartsWith("twqt: load picture " + folder_.file("a.png") + " : "));
    EXPECT_FALSE(std::filesystem::exists(folder_.file("c.png")));
    EXPECT_EQ(runTwqt({"image", "info", folder_.file("none.png")}).exitStatus, 1);
    EXPECT_EQ(runTwqt({"image", "load", picture_, "--profile", folder_.file("a.png"), "-o",
                       folder_.file("d.png")})
                  .exitStatus,
              1);
    EXPECT_EQ(runTwqt({"image", "load", picture_, "--size", "0x4", "-o", folder_.file("d.png")})
                  .exitStatus,
              2);
}

}  // namespace
}  // namespace twqt
