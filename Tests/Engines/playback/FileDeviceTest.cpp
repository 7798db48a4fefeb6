#include "Engines/playback/FileDevice.h"

#include <fstream>

#include "PlayerStage.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::playback {
namespace {

using test::frames;

class FileDeviceTest : public test::PlayerStage {
  protected:
    void openTo(const std::string& path) {
        auto opened = SoundPlayer::open(movie_, {.devices = DeviceChoice::file(path, clock_),
                                                 .clock = clock_,
                                                 .pumping = Pumping::byTheOwner});
        ASSERT_TRUE(opened);
        player_ = std::move(*opened);
    }
    std::string probe(const std::string& path) {
        const auto result = TWQuickTime::test::runProgram(
            {"ffprobe", "-v", "warning", "-show_entries",
             "stream=codec_name,sample_rate,channels,duration_ts", "-of", "csv=p=0", path});
        EXPECT_EQ(result.errors, "");
        return result.output;
    }

    TWQuickTime::test::TemporaryDirectory folder_;
};

TEST_F(FileDeviceTest, WritesAFileThatOthersReadWheneverThePlayerIsStopped) {
    const std::string path = folder_.file("a.wav");
    openTo(path);
    play();
    pass(1000);
    player().stop();
    EXPECT_EQ(probe(path), "pcm_f32le,48000,1,1000\n");
    play();
    pass(234);
    player_.reset();
    EXPECT_EQ(probe(path), "pcm_f32le,48000,1,1234\n");
}

TEST_F(FileDeviceTest, MakesAnEmptyButSoundFileOfNothing) {
    const std::string path = folder_.file("a.wav");
    openTo(path);
    play();
    player_.reset();
    EXPECT_EQ(std::filesystem::file_size(path), 58u);
}

TEST_F(FileDeviceTest, AFileThatCannotBeMadeIsAFailureAndTimeRunsOn) {
    openTo(folder_.file("no such folder/a.wav"));
    play();
    EXPECT_EQ(player().outputState(), OutputState::standIn);
    EXPECT_EQ(player().outputFailure().failure().kind, result::FailureKind::notFound);
    EXPECT_NE(player().outputFailure().failure().message.find("a.wav"), std::string::npos);
    pass(100);
    EXPECT_EQ(position(), 100);
}

TEST_F(FileDeviceTest, AFullDiskIsAFailureAndIsNotTriedAgain) {
    if (!std::ofstream("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    openTo("/dev/full");
    player().setLoops(true);
    play();
    pass(30000);
    EXPECT_EQ(player().outputState(), OutputState::standIn);
    EXPECT_EQ(player().outputFailure().failure().kind, result::FailureKind::noSpace);
    EXPECT_FALSE(player().nextEventInNanoseconds());
}

}  // namespace
}  // namespace TWQuickTime::playback
