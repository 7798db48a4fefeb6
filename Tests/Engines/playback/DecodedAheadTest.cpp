// Changes while playing on a device that takes samples by itself: what is decoded ahead gives way
// without a gap. The device's thread is the test, which takes samples between the owner's calls.
#include "PlayerStage.h"

namespace TWQuickTime::playback {
namespace {

using test::frames;
using test::joined;
using test::kRate;
using test::levelsOf;

/// Not pumped: the test takes.
class HandDevice final : public OutputDevice {
  public:
    explicit HandDevice(HandDevice** place) { *place = this; }

    std::string name() const override { return "hand"; }
    void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) override {
        format_ = wanted;
        supply_ = &supply;
    }
    DeviceState state() const override { return DeviceState::ready; }
    result::Status failure() const override { return {}; }
    codec::SoundFormat format() const override { return format_; }
    void start() override {}
    void stop() override {}
    DeviceProgress progress() const override { return {taken_, taken_}; }

    std::vector<int> take(std::size_t count) {
        std::vector<float> samples(count);
        supply_->supply(samples);
        taken_ += std::int64_t(count);
        std::vector<int> levels;
        for (const float sample : samples) {
            levels.push_back(int(std::lround(sample * 32768)));
        }
        return levels;
    }

  private:
    SoundSupply* supply_ = nullptr;
    codec::SoundFormat format_;
    std::int64_t taken_ = 0;
};

class DecodedAheadTest : public test::PlayerStage {
  protected:
    DecodedAheadTest() {
        auto opened = SoundPlayer::open(
            movie_, {.devices = {{[this] { return std::make_unique<HandDevice>(&device_); }}},
                     .clock = clock_,
                     .pumping = Pumping::byTheOwner});
        EXPECT_TRUE(opened);
        player_ = std::move(*opened);
    }

    HandDevice* device_ = nullptr;
};

TEST_F(DecodedAheadTest, ALaterOutPointGoesOnWithoutAGap) {
    player_->setRange(frames(0), frames(5000));
    player_->play();
    EXPECT_EQ(device_->take(1000), levelsOf(0, 1000));
    player_->setRange(frames(0), frames(9000));
    EXPECT_EQ(device_->take(8000), levelsOf(1000, 9000));
}

TEST_F(DecodedAheadTest, AnOutPointJustAheadIsKeptToTheSample) {
    player_->setLoops(true);
    player_->play();
    EXPECT_EQ(device_->take(1000), levelsOf(0, 1000));
    player_->setRange(frames(300), frames(9000));
    EXPECT_EQ(device_->take(9000), joined({levelsOf(1000, 9000), levelsOf(300, 1300)}));
}

TEST_F(DecodedAheadTest, AnOutPointWithinWhatIsAboutToBePlayedIsJumpedFrom) {
    player_->setLoops(true);
    player_->play();
    device_->take(1000);
    player_->setRange(frames(300), frames(900));
    EXPECT_EQ(device_->take(700), joined({levelsOf(300, 900), levelsOf(300, 400)}));
    EXPECT_EQ(position(), 400);
}

TEST_F(DecodedAheadTest, AnInPointAheadIsJumpedToAtOnce) {
    player_->play();
    device_->take(1000);
    player_->setRange(frames(20000), frames(30000));
    EXPECT_EQ(device_->take(100), levelsOf(20000, 20100));
}

TEST_F(DecodedAheadTest, SeveralChangesBeforeTheDeviceComesAreOneChange) {
    player_->play();
    device_->take(1000);
    player_->setRange(frames(0), frames(20000));
    player_->setLoops(true);
    player_->setRange(frames(500), frames(10000));
    EXPECT_EQ(device_->take(10000), joined({levelsOf(1000, 10000), levelsOf(500, 1500)}));
}

TEST_F(DecodedAheadTest, ASeekCancelsAChangeThatWasNotReached) {
    player_->play();
    device_->take(1000);
    player_->setRange(frames(0), frames(20000));
    player_->seek(frames(3000));
    EXPECT_EQ(device_->take(100), levelsOf(3000, 3100));
    player_->setRange(frames(0), frames(25000));
    EXPECT_EQ(device_->take(21900), levelsOf(3100, 25000));
}

TEST_F(DecodedAheadTest, AChangeAfterAnotherThatIsUnderWayFollowsIt) {
    player_->setLoops(true);
    player_->play();
    device_->take(1000);
    player_->setRange(frames(0), frames(20000));
    // The device has seen it, but has not come to where it begins.
    EXPECT_EQ(device_->take(10), levelsOf(1000, 1010));
    player_->setRange(frames(0), frames(15000));
    EXPECT_EQ(device_->take(14090), joined({levelsOf(1010, 15000), levelsOf(0, 100)}));
}

TEST_F(DecodedAheadTest, AnotherRateGoesOnAtTheFrameWhereItBegins) {
    player_->play();
    device_->take(1000);
    ASSERT_TRUE(player_->setRate(2).ok());
    const auto levels = device_->take(9000);
    for (std::size_t i = 1; i < levels.size(); ++i) {
        ASSERT_GE(levels[i], levels[i - 1]) << i;
        ASSERT_LE(levels[i] - levels[i - 1], 60) << i;
    }
    EXPECT_GT(position(), 12000);
}

}  // namespace
}  // namespace TWQuickTime::playback
