#include "Engines/playback/SoundPlayer.h"

#include <cmath>
#include <limits>

#include "PlayerStage.h"

namespace TWQuickTime::playback {
namespace {

using test::frames;
using test::joined;
using test::kRate;
using test::levelsOf;

class SoundPlayerTest : public test::PlayerStage {};

TEST_F(SoundPlayerTest, GivesEverySampleOfAMovieOnceAndStandsAtItsEnd) {
    play();
    pass(30000 + 500);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(0, 30000), std::vector<int>(500, 0)}));
    EXPECT_EQ(position(), 30000);
    EXPECT_TRUE(player().reachedEnd());
    EXPECT_TRUE(player().isRunning());
}

TEST_F(SoundPlayerTest, SamplesPassBitByBitAtTheOrdinaryRate) {
    play();
    pass(1000);
    for (std::size_t i = 0; i < 1000; ++i) {
        ASSERT_EQ(lab_->recorded[i], float(i + 1) / 32768.0f);
    }
}

TEST_F(SoundPlayerTest, ReportsTheFrameThatIsHeard) {
    EXPECT_EQ(position(), 0);
    play();
    EXPECT_EQ(position(), 0);
    pass(1);
    EXPECT_EQ(position(), 1);
    pass(999);
    EXPECT_EQ(position(), 1000);
    EXPECT_EQ(player().heardPosition().scale, kRate);
}

TEST_F(SoundPlayerTest, LoopsARangeWithoutAGapToTheSample) {
    player().setRange(frames(101), frames(1350));
    player().setLoops(true);
    play();
    pass(3 * 1249 + 10);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(101, 1350), levelsOf(101, 1350), levelsOf(101, 1350),
                                      levelsOf(101, 111)}));
    EXPECT_EQ(position(), 111);
    EXPECT_FALSE(player().reachedEnd());
}

TEST_F(SoundPlayerTest, LoopsARangeOfOneFrame) {
    player().setRange(frames(77), frames(78));
    player().setLoops(true);
    play();
    pass(5000);
    EXPECT_EQ(lab_->levels(), std::vector<int>(5000, 78));
    EXPECT_EQ(position(), 77);
}

TEST_F(SoundPlayerTest, LoopsARangeThatIsShorterThanABurstOfTheDevice) {
    lab_->burstInFrames = 4000;
    player().setRange(frames(10), frames(310));
    player().setLoops(true);
    play();
    pass(8000);
    const auto levels = lab_->levels();
    ASSERT_GE(levels.size(), 8000u);
    for (std::size_t i = 0; i < levels.size(); ++i) {
        ASSERT_EQ(levels[i], 11 + int(i % 300)) << i;
    }
}

TEST_F(SoundPlayerTest, TimesInOtherUnitsMeanTheNearestFrame) {
    player().setRange({1, 600}, {100, 600});
    play();
    pass(8000);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(80, 8000), std::vector<int>(80, 0)}));
}

TEST_F(SoundPlayerTest, RangesAndSeeksAreHeldWithinTheMovie) {
    player().setRange({-5, 1}, {1'000'000, 1});
    player().seek({-3, 1});
    EXPECT_EQ(position(), 0);
    player().seek({999, 1});
    EXPECT_EQ(position(), 30000);
    EXPECT_EQ(player().duration().value, 30000);
}

TEST_F(SoundPlayerTest, StartsAtTheInPointWhenThePlayheadIsInFrontOfIt) {
    player().setRange(frames(500), frames(600));
    play();
    EXPECT_EQ(position(), 500);
    pass(150);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(500, 600), std::vector<int>(50, 0)}));
    EXPECT_EQ(position(), 600);
}

TEST_F(SoundPlayerTest, IsAtTheEndAtOnceWhenThePlayheadIsBehindARangeThatDoesNotLoop) {
    player().setRange(frames(500), frames(600));
    player().seek(frames(700));
    EXPECT_EQ(position(), 700);
    play();
    EXPECT_TRUE(player().reachedEnd());
    EXPECT_EQ(position(), 600);
}

TEST_F(SoundPlayerTest, StartsAtTheInPointWhenThePlayheadIsBehindARangeThatLoops) {
    player().setRange(frames(500), frames(600));
    player().setLoops(true);
    player().seek(frames(700));
    play();
    pass(3);
    EXPECT_EQ(lab_->levels(), levelsOf(500, 503));
}

TEST_F(SoundPlayerTest, AnEmptyRangeEndsAtOnceLoopingOrNot) {
    for (const bool loops : {false, true}) {
        player().setLoops(loops);
        player().setRange(frames(600), frames(500));
        player().play();
        EXPECT_TRUE(player().reachedEnd()) << loops;
        pass(100);
        EXPECT_TRUE(player().reachedEnd()) << loops;
        player().stop();
    }
    for (const int level : lab_->levels()) {
        ASSERT_EQ(level, 0);
    }
}

TEST_F(SoundPlayerTest, AnOutPointSetBehindThePlayheadEndsAtOnce) {
    play();
    pass(1000);
    player().setRange(frames(0), frames(400));
    pass(100);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(0, 1000), std::vector<int>(100, 0)}));
    EXPECT_TRUE(player().reachedEnd());
    EXPECT_EQ(position(), 400);
}

TEST_F(SoundPlayerTest, AnOutPointSetBehindThePlayheadOfALoopGoesOnAtTheInPoint) {
    player().setLoops(true);
    play();
    pass(1000);
    player().setRange(frames(200), frames(400));
    pass(300);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(0, 1000), levelsOf(200, 400), levelsOf(200, 300)}));
}

TEST_F(SoundPlayerTest, AnInPointSetInFrontOfThePlayheadIsJumpedTo) {
    play();
    pass(1000);
    player().setRange(frames(5000), frames(6000));
    pass(10);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(0, 1000), levelsOf(5000, 5010)}));
    EXPECT_EQ(position(), 5010);
}

TEST_F(SoundPlayerTest, AnOutPointMovedFurtherLeavesNoGap) {
    player().setRange(frames(0), frames(1100));
    play();
    pass(1000);
    player().setRange(frames(0), frames(3000));
    pass(1000);
    EXPECT_EQ(lab_->levels(), levelsOf(0, 2000));
}

TEST_F(SoundPlayerTest, LoopingSwitchedOffPlaysTheLastLapToItsEnd) {
    player().setRange(frames(100), frames(200));
    player().setLoops(true);
    play();
    pass(250);
    player().setLoops(false);
    pass(100);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(100, 200), levelsOf(100, 200), levelsOf(100, 200),
                                      std::vector<int>(50, 0)}));
    EXPECT_TRUE(player().reachedEnd());
}

TEST_F(SoundPlayerTest, LoopingSwitchedOnAtTheEndGoesOnAtTheInPoint) {
    player().setRange(frames(100), frames(200));
    play();
    pass(150);
    EXPECT_TRUE(player().reachedEnd());
    player().setLoops(true);
    EXPECT_FALSE(player().reachedEnd());
    pass(20);
    EXPECT_EQ(lab_->levels(),
              joined({levelsOf(100, 200), std::vector<int>(50, 0), levelsOf(100, 120)}));
}

TEST_F(SoundPlayerTest, SeeksWhilePlaying) {
    play();
    pass(100);
    player().seek(frames(20000));
    EXPECT_EQ(position(), 20000);
    pass(100);
    EXPECT_EQ(position(), 20100);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(0, 100), levelsOf(20000, 20100)}));
}

TEST_F(SoundPlayerTest, SeeksWhileLoopingAndGoesOnLooping) {
    player().setRange(frames(1000), frames(1300));
    player().setLoops(true);
    play();
    pass(450);
    player().seek(frames(1200));
    pass(200);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(1000, 1300), levelsOf(1000, 1150),
                                      levelsOf(1200, 1300), levelsOf(1000, 1100)}));
    player().seek(frames(4));
    EXPECT_EQ(position(), 1000);
}

TEST_F(SoundPlayerTest, StopsAndGoesOnWithoutLosingOrRepeatingASample) {
    play();
    pass(700);
    player().stop();
    EXPECT_EQ(position(), 700);
    clock_->advance(1'000'000'000);
    EXPECT_EQ(position(), 700);
    EXPECT_FALSE(player().isRunning());
    play();
    pass(300);
    EXPECT_EQ(lab_->levels(), levelsOf(0, 1000));
}

TEST_F(SoundPlayerTest, WhatWasTakenButNotHeardBeforeAStopIsPlayedAgain) {
    lab_->latencyInFrames = 480;
    play();
    pass(700);
    EXPECT_EQ(position(), 700);
    player().stop();
    EXPECT_EQ(position(), 700);
    play();
    pass(100);
    EXPECT_EQ(position(), 800);
    EXPECT_EQ(lab_->levels(), joined({levelsOf(0, 1180), levelsOf(700, 1280)}));
}

TEST_F(SoundPlayerTest, SubtractsTheLatencyAlsoFromTheEnd) {
    lab_->latencyInFrames = 480;
    player().setRange(frames(0), frames(1000));
    play();
    pass(999);
    EXPECT_FALSE(player().reachedEnd());
    EXPECT_EQ(position(), 999);
    pass(1);
    EXPECT_TRUE(player().reachedEnd());
}

TEST_F(SoundPlayerTest, PositionsNeverGoBackWhileTheDeviceJitters) {
    lab_->latencyInFrames = 960;
    lab_->burstInFrames = 441;
    std::uint32_t seed = 7;
    lab_->jitter = [&] {
        seed = seed * 1664525 + 1013904223;
        return std::int64_t(seed >> 24) - 128;
    };
    play();
    std::int64_t before = 0;
    for (int i = 0; i < 500; ++i) {
        pass(i % 13 * 3 + 1);
        const std::int64_t now = position();
        ASSERT_GE(now, before);
        before = now;
    }
    EXPECT_NEAR(double(before), double(passed_), 130);
}

TEST_F(SoundPlayerTest, StandsStillWhileTheDeviceStalls) {
    lab_->latencyInFrames = 100;
    play();
    pass(500);
    lab_->device->stall(test::nanosecondsOf(200));
    pass(150);
    EXPECT_EQ(position(), 500);
    pass(100);
    EXPECT_NEAR(double(position()), 550, 1);
}

TEST_F(SoundPlayerTest, TakesCoarseAndFineBurstsAlike) {
    for (const std::int64_t burst : {1, 7, 512, 24000}) {
        lab_->recorded.clear();
        lab_->burstInFrames = burst;
        player_.reset();
        player().setRange(frames(3), frames(9000));
        play();
        pass(9000);
        auto levels = lab_->levels();
        levels.resize(8997);
        EXPECT_EQ(levels, levelsOf(3, 9000)) << burst;
        EXPECT_TRUE(player().reachedEnd());
    }
}

TEST_F(SoundPlayerTest, VolumeChangesAreRampsOfFiveMilliseconds) {
    timeline::Movie loud;
    loud.timeScale = std::uint32_t(kRate);
    transcode::test::addLevels(loud, std::vector<std::int16_t>(30000, 16384), std::uint32_t(kRate));
    auto opened = SoundPlayer::open(
        loud, {.devices = lab_->choice(), .clock = clock_, .pumping = Pumping::byTheOwner});
    player_ = std::move(*opened);
    play();
    for (const float gain : {0.0f, 1.0f, 0.3f, 0.9f, 0.0f}) {
        pass(1000);
        player().setGain(gain);
    }
    pass(1000);
    const float steepest = 0.5f / (0.005f * float(kRate)) + 1e-6f;
    float before = lab_->recorded.front();
    for (const float sample : lab_->recorded) {
        ASSERT_LE(std::abs(sample - before), steepest);
        before = sample;
    }
    EXPECT_EQ(lab_->recorded[999], 0.5f);
    EXPECT_EQ(lab_->recorded[1240], 0.0f);
    EXPECT_EQ(lab_->recorded[2999], 0.5f);
    EXPECT_EQ(lab_->recorded.back(), 0.0f);
}

TEST_F(SoundPlayerTest, AVolumeSetWhileStoppedHoldsFromTheFirstSample) {
    player().setGain(0.5f);
    play();
    pass(10);
    player().stop();
    player().setGain(1.0f);
    play();
    pass(10);
    EXPECT_EQ(lab_->recorded[0], 0.5f / 32768.0f);
    EXPECT_EQ(lab_->recorded[10], 11.0f / 32768.0f);
}

TEST_F(SoundPlayerTest, AVolumeThatIsNoNumberIsSilence) {
    player().setGain(std::numeric_limits<float>::quiet_NaN());
    play();
    pass(10);
    EXPECT_EQ(lab_->levels(), std::vector<int>(10, 0));
}

TEST_F(SoundPlayerTest, TellsTheLevelOfWhatWasPlayed) {
    play();
    pass(1000);
    EXPECT_EQ(player().takePeak(), 1000.0f / 32768.0f);
    EXPECT_EQ(player().takePeak(), 0.0f);
}

TEST_F(SoundPlayerTest, PlaysFasterAndSlowerByResampling) {
    for (const double rate : {0.5, 2.0, 1.37}) {
        player_.reset();
        lab_->recorded.clear();
        ASSERT_TRUE(player().setRate(rate).ok());
        EXPECT_EQ(player().rate(), rate);
        play();
        pass(4800);
        EXPECT_NEAR(double(position()), 4800 * rate, 2);
        // The counting samples are a slope, which resampling keeps.
        for (std::size_t i = 1000; i < 4000; ++i) {
            ASSERT_NEAR(lab_->recorded[i] * 32768, double(i) * rate + 1, 1.0) << rate << " " << i;
        }
        pass(std::int64_t(30000 / rate) - 4800 - 2);
        EXPECT_FALSE(player().reachedEnd());
        pass(4);
        EXPECT_TRUE(player().reachedEnd());
        EXPECT_EQ(position(), 30000);
    }
}

TEST_F(SoundPlayerTest, ARateChangedWhilePlayingGoesOnWhereItIs) {
    play();
    pass(4800);
    ASSERT_TRUE(player().setRate(2).ok());
    EXPECT_EQ(position(), 4800);
    pass(100);
    EXPECT_EQ(position(), 5000);
    ASSERT_TRUE(player().setRate(1).ok());
    pass(100);
    EXPECT_EQ(position(), 5100);
    EXPECT_EQ(lab_->levels().back(), 5100);
}

TEST_F(SoundPlayerTest, RefusesRatesThatAreNotAboveZero) {
    for (const double rate : {0.0, -1.0, std::nan(""), -std::numeric_limits<double>::infinity()}) {
        const auto status = player().setRate(rate);
        ASSERT_FALSE(status.ok());
        EXPECT_EQ(status.failure().kind, result::FailureKind::badArgument);
    }
    EXPECT_EQ(player().rate(), 1.0);
    ASSERT_TRUE(player().setRate(1e9).ok());
    EXPECT_EQ(player().rate(), 100.0);
}

TEST_F(SoundPlayerTest, PlaysOnADeviceOfAnotherRate) {
    lab_->sampleRate = 44100;
    play();
    clock_->advance(100'000'000);
    EXPECT_EQ(position(), 4800);
    for (std::size_t i = 1000; i < 4000; ++i) {
        ASSERT_NEAR(lab_->recorded[i] * 32768, double(i) * 48000 / 44100 + 1, 1.0) << i;
    }
    // The end falls between two frames of the device; it is heard with the second one.
    clock_->advance(525'000'000);
    EXPECT_EQ(position(), 29999);
    clock_->advance(*player().nextEventInNanoseconds() - clock_->nanoseconds());
    EXPECT_TRUE(player().reachedEnd());
    EXPECT_EQ(position(), 30000);
}

TEST_F(SoundPlayerTest, PlaysOneChannelOnADeviceOfTwo) {
    lab_->channels = 2;
    play();
    pass(100);
    ASSERT_EQ(lab_->recorded.size(), 200u);
    EXPECT_EQ(lab_->recorded[100], lab_->recorded[101]);
    EXPECT_GT(lab_->recorded[100], 0.0f);
}

TEST_F(SoundPlayerTest, TellsWhenItsEndWillHaveBeenHeard) {
    EXPECT_FALSE(player().nextEventInNanoseconds());
    play();
    const std::int64_t begin = clock_->nanoseconds();
    EXPECT_EQ(player().nextEventInNanoseconds(), begin + 625'000'000);
    clock_->advance(100'000'000);
    EXPECT_EQ(player().nextEventInNanoseconds(), begin + 625'000'000);
    clock_->advance(525'000'000 - 1);
    EXPECT_FALSE(player().reachedEnd());
    clock_->advance(1);
    EXPECT_TRUE(player().reachedEnd());
    EXPECT_FALSE(player().nextEventInNanoseconds());
}

TEST_F(SoundPlayerTest, ALoopHasNoEndToWaitFor) {
    player().setLoops(true);
    play();
    EXPECT_FALSE(player().nextEventInNanoseconds());
    player().setLoops(false);
    EXPECT_EQ(player().nextEventInNanoseconds(), clock_->nanoseconds() + 625'000'000);
}

TEST_F(SoundPlayerTest, PlayAgainAtTheEndStaysThereUntilASeek) {
    player().setRange(frames(0), frames(100));
    play();
    pass(200);
    player().play();
    EXPECT_TRUE(player().reachedEnd());
    player().seek(frames(50));
    EXPECT_FALSE(player().reachedEnd());
    EXPECT_EQ(position(), 50);
    pass(10);
    EXPECT_EQ(position(), 60);
}

TEST_F(SoundPlayerTest, TimeRunsOnSilentlyWhenTheDeviceDisappearsAndSoundComesBackWithOne) {
    player().setLoops(true);
    play();
    pass(1000);
    EXPECT_EQ(player().outputState(), OutputState::playing);
    EXPECT_EQ(player().outputName(), "test");
    lab_->answer = DeviceState::gone;
    lab_->device->disappear();
    pass(1);
    EXPECT_EQ(player().outputState(), OutputState::standIn);
    EXPECT_EQ(player().outputFailure().failure().message, "unplugged");
    const std::int64_t silentFrom = position();
    EXPECT_NEAR(double(silentFrom), 1000, 2);
    pass(5000);
    EXPECT_NEAR(double(position()), double(silentFrom + 5000), 2);
    EXPECT_EQ(lab_->recorded.size(), 1000u);

    lab_->answer = DeviceState::ready;
    clock_->advance(*player().nextEventInNanoseconds() - clock_->nanoseconds());
    const std::int64_t before = position();
    EXPECT_EQ(player().outputState(), OutputState::playing);
    EXPECT_TRUE(player().outputFailure().ok());
    clock_->advance(test::nanosecondsOf(100));
    EXPECT_NEAR(double(position()), double(before + 100), 2);
    EXPECT_EQ(lab_->levels().back(), int(position()));
}

TEST_F(SoundPlayerTest, ADeviceThatWentWhileStoppedIsLookedForAtTheNextPlay) {
    play();
    pass(100);
    player().stop();
    lab_->device->disappear();
    clock_->advance(2'000'000'000);
    play();
    EXPECT_EQ(player().outputState(), OutputState::playing);
    EXPECT_EQ(lab_->devicesMade, 2);
    pass(100);
    EXPECT_EQ(lab_->levels(), levelsOf(0, 200));
}

TEST_F(SoundPlayerTest, ADeviceThatComesAndGoesIsNotTriedAgainAndAgain) {
    player().setLoops(true);
    play();
    for (int i = 0; i < 100; ++i) {
        if (player().outputState() == OutputState::playing) {
            lab_->device->disappear();
        }
        pass(480);
    }
    EXPECT_LE(lab_->devicesMade, 2);
    EXPECT_NEAR(double(position()), 48000 - 30000, 1000);
}

TEST_F(SoundPlayerTest, AnEndThatWasReachedStaysReachedWhenTheDeviceDisappears) {
    player().setRange(frames(0), frames(100));
    play();
    pass(150);
    lab_->device->disappear();
    pass(10);
    EXPECT_TRUE(player().reachedEnd());
    EXPECT_EQ(position(), 100);
}

TEST_F(SoundPlayerTest, TheSilentDeviceStandsInWhenNoneAnswers) {
    lab_->answer = DeviceState::gone;
    EXPECT_EQ(player().outputState(), OutputState::none);
    play();
    EXPECT_EQ(player().outputState(), OutputState::standIn);
    EXPECT_EQ(player().outputName(), "silent");
    pass(4800);
    EXPECT_EQ(position(), 4800);
    EXPECT_EQ(lab_->devicesMade, 1);
    clock_->advance(1'000'000'000);
    static_cast<void>(position());
    EXPECT_EQ(lab_->devicesMade, 2);
}

TEST_F(SoundPlayerTest, WaitsForADeviceThatIsSlowToAnswerButNotForEver) {
    lab_->answer = DeviceState::opening;
    play();
    clock_->advance(500'000'000);
    EXPECT_EQ(position(), 0);
    EXPECT_EQ(player().outputState(), OutputState::opening);
    clock_->advance(*player().nextEventInNanoseconds() - clock_->nanoseconds());
    EXPECT_EQ(position(), 0);
    EXPECT_EQ(player().outputState(), OutputState::standIn);
    EXPECT_EQ(player().outputFailure().failure().message, "test does not answer");
    clock_->advance(100'000'000);
    EXPECT_EQ(position(), 4800);
}

TEST_F(SoundPlayerTest, BeginsWhenASlowDeviceAnswers) {
    lab_->answer = DeviceState::opening;
    player().play();
    clock_->advance(500'000'000);
    EXPECT_EQ(position(), 0);
    lab_->device->becomeReady();
    EXPECT_EQ(position(), 0);
    clock_->advance(test::nanosecondsOf(10));
    EXPECT_EQ(position(), 10);
    EXPECT_EQ(lab_->levels(), levelsOf(0, 10));
}

TEST_F(SoundPlayerTest, AMovieWithoutSoundPlaysAsSilence) {
    timeline::Movie pictures;
    transcode::test::addColors(pictures, 4, 4, {0xFF000000, 0xFFFFFFFF}, 300);
    auto opened = SoundPlayer::open(
        pictures, {.devices = lab_->choice(), .clock = clock_, .pumping = Pumping::byTheOwner});
    ASSERT_TRUE(opened);
    player_ = std::move(*opened);
    EXPECT_EQ(player().framesPerSecond(), 48000);
    EXPECT_EQ(player().duration().value, 48000);
    play();
    pass(24000);
    EXPECT_EQ(position(), 24000);
    EXPECT_EQ(player().takePeak(), 0.0f);
    pass(24000);
    EXPECT_TRUE(player().reachedEnd());
}

TEST_F(SoundPlayerTest, AnHourPassesAtOnceWhenNobodyListens) {
    auto opened = SoundPlayer::open(movie_, {.devices = DeviceChoice::silent(clock_, false),
                                             .clock = clock_,
                                             .pumping = Pumping::byTheOwner});
    player_ = std::move(*opened);
    player().setLoops(true);
    player().play();
    clock_->advance(3'600'000'000'000);
    EXPECT_EQ(position(), 3600 * kRate % 30000);
}

TEST_F(SoundPlayerTest, HonoursTheVolumeOfTracks) {
    movie_.tracks.front()->volume = 0x80;
    play();
    pass(1000);
    EXPECT_EQ(lab_->recorded[999], 1000.0f / 32768.0f / 2);
}

TEST_F(SoundPlayerTest, GoesInEveryState) {
    player_.reset();
    player();
    player_.reset();
    play();
    player_.reset();
    play();
    pass(100);
    player_.reset();
    EXPECT_EQ(lab_->device, nullptr);
}

}  // namespace
}  // namespace TWQuickTime::playback
