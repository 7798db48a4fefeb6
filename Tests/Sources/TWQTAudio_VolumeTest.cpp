// The player's volume, envelope and fade-out.
#include <gmock/gmock.h>

#include <cmath>

#include "AudioPlayer.h"
#include "NSException.h"

namespace TWQuickTime {
namespace {

using test::AudioPlayer;
using test::envelope;
using test::OpenAudio;
using testing::ElementsAre;

using AudioVolume = AudioPlayer;

double gamma(double volume) {
    return std::pow(volume, 2.2);
}

TEST_F(AudioVolume, GoesThroughTheGamma) {
    const auto audio = twoSeconds();
    audio->setVolume(0.5f);
    EXPECT_FLOAT_EQ(audio->baseVolume(), 0.2176376f);
    EXPECT_FLOAT_EQ(audio->volume(), 0.5f);
    audio->setVolumeGamma(1.0);
    EXPECT_FLOAT_EQ(audio->volume(), 0.2176376f);
    audio->setVolume(0.25f);
    EXPECT_EQ(audio->baseVolume(), 0.25f);
}

TEST_F(AudioVolume, OfTheMovieStaysWithin0And1) {
    const auto audio = twoSeconds();
    audio->setVolume(2.0f);
    EXPECT_EQ(audio->baseVolume(), 1.0f);
    audio->setVolume(-1.0f);
    EXPECT_EQ(audio->baseVolume(), 0.0f);
}

TEST_F(AudioVolume, NeitherReferenceVolumeNorGammaChangeItAtOnce) {
    const auto audio = twoSeconds();
    audio->setVolume(0.5f);
    const float before = audio->baseVolume();
    audio->setReferenceVolume(0.25);
    audio->setVolumeGamma(3.0);
    EXPECT_EQ(audio->baseVolume(), before);
}

TEST_F(AudioVolume, IsTheReferenceVolumeAfterEachPlayWithoutAnEnvelope) {
    const auto audio = twoSeconds();
    audio->setReferenceVolume(0.75);
    audio->setVolume(0.25f);
    audio->play();
    EXPECT_FLOAT_EQ(audio->volume(), 0.75f);
    audio->setVolume(0.25f);
    clock_->advance(0.5);
    EXPECT_FLOAT_EQ(audio->volume(), 0.25f);
    audio->stop();
    audio->play();
    EXPECT_FLOAT_EQ(audio->volume(), 0.75f);
}

TEST_F(AudioVolume, FollowsAnEnvelope) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    audio->setVolumeEnvelope(envelope({{0, 1}, {10, 0}}));
    audio->play();
    EXPECT_FLOAT_EQ(audio->volume(), 1.0f);
    clock_->advance(2.5);
    EXPECT_NEAR(audio->volume(), 0.75f, 1e-6);
    EXPECT_NEAR(audio->baseVolume(), gamma(0.75), 1e-6);
    clock_->advance(0.01);
    EXPECT_NEAR(audio->volume(), 0.75f, 1e-6);  // between two steps
    clock_->advance(0.01);
    EXPECT_NEAR(audio->volume(), 0.748f, 1e-6);
}

TEST_F(AudioVolume, GoesFromSegmentToSegment) {
    const auto audio = twoSeconds();
    audio->setVolumeEnvelope(envelope({{0, 1}, {0.5, 0.5}, {1.0, 1.0}}));
    audio->play();
    clock_->advance(0.5);
    EXPECT_NEAR(audio->volume(), 0.5f, 1e-6);
    EXPECT_EQ(audio->TW_envelopeStartTime, 0.5);
    EXPECT_EQ(audio->TW_envelopeEndTime, 1.0);
    EXPECT_EQ(audio->TW_envelopeEndVolume, 1.0);
    clock_->advance(0.25);
    EXPECT_NEAR(audio->volume(), 0.75f, 0.011);
}

TEST_F(AudioVolume, StaysAsItWasWhenPlayingBeginsBeforeTheEnvelope) {
    const auto audio = twoSeconds();
    audio->setVolume(0.5f);
    audio->setVolumeEnvelope(envelope({{0.5, 0.25}, {1.5, 0.75}}));
    audio->play();
    clock_->advance(1.0);
    EXPECT_FLOAT_EQ(audio->volume(), 0.5f);
    audio->play();
    EXPECT_NEAR(audio->volume(), 0.5f, 1e-6);
    clock_->advance(0.2);
    EXPECT_NEAR(audio->volume(), 0.6f, 1e-5);
}

TEST_F(AudioVolume, StaysAtTheLastStepBehindTheEnvelope) {
    const auto audio = twoSeconds();
    audio->setVolumeEnvelope(envelope({{0, 1}, {0.99, 0.5}}));
    audio->play();
    clock_->advance(1.5);
    // The last step is at 1.0 s and goes on beyond the point by that much.
    EXPECT_NEAR(audio->volume(), 1 - 0.5 * 1.0 / 0.99, 1e-6);
    audio->setVolume(0.9f);
    clock_->advance(0.4);
    EXPECT_NEAR(audio->volume(), 0.9f, 1e-6);  // no step is left
}

TEST_F(AudioVolume, IsLimitedWhereASegmentEndsInSilence) {
    const auto audio = twoSeconds();
    audio->setVolumeEnvelope(envelope({{0, 1}, {0.99, 0}}));
    audio->play();
    clock_->advance(1.5);
    EXPECT_EQ(audio->volume(), 0.0f);
}

TEST_F(AudioVolume, TakesAnEnvelopeOfOneOrNoPointAsNone) {
    const auto audio = twoSeconds();
    for (const auto& points : {envelope({}), envelope({{0, 0.5}})}) {
        audio->setVolume(0.25f);
        audio->setVolumeEnvelope(points);
        audio->play();
        clock_->advance(0.2);
        EXPECT_FLOAT_EQ(audio->volume(), 0.25f);
        EXPECT_EQ(audio->TW_envelopeStartTime, -1.0);
    }
}

TEST_F(AudioVolume, FindsTheFirstSegmentAroundATimeWithoutItsEnd) {
    const auto audio = twoSeconds();
    std::shared_ptr<TWQTVolumeEnvelopePoint> start;
    std::shared_ptr<TWQTVolumeEnvelopePoint> end;
    EXPECT_FALSE(audio->TW_volumeRampForCurrentTime(1, &start, &end));
    audio->setVolumeEnvelope(envelope({{1, 0.1}, {2, 0.2}, {3, 0.3}}));
    EXPECT_FALSE(audio->TW_volumeRampForCurrentTime(0.999, &start, &end));
    EXPECT_EQ(start, nullptr);
    ASSERT_TRUE(audio->TW_volumeRampForCurrentTime(1, &start, &end));
    EXPECT_EQ(start->volume(), 0.1);
    EXPECT_EQ(end->volume(), 0.2);
    ASSERT_TRUE(audio->TW_volumeRampForCurrentTime(2, &start, nullptr));
    EXPECT_EQ(start->volume(), 0.2);
    EXPECT_FALSE(audio->TW_volumeRampForCurrentTime(3, nullptr, nullptr));
    // Out of order: the first pair that brackets the time.
    audio->setVolumeEnvelope(envelope({{5, 0.5}, {1, 0.1}, {4, 0.4}, {2, 0.2}, {6, 0.6}}));
    ASSERT_TRUE(audio->TW_volumeRampForCurrentTime(3, &start, &end));
    EXPECT_EQ(start->time(), 1);
    EXPECT_EQ(end->time(), 4);
}

TEST_F(AudioVolume, GivesASegmentWithoutLengthTheFactor1) {
    const auto audio = twoSeconds();
    audio->TW_envelopeStartTime = 1.0;
    audio->TW_envelopeEndTime = 1.0;
    audio->TW_envelopeStartVolume = 0.5;
    audio->setVolumeEnvelope(envelope({}));
    audio->TW_performVolumeFade();
    EXPECT_EQ(audio->volume(), 1.0f);
}

TEST_F(AudioVolume, RefusesAnEnvelopeWithAForeignObjectAndKeepsTheOldOne) {
    const auto audio = twoSeconds();
    const auto old = envelope({{0, 1}, {1, 0}});
    audio->setVolumeEnvelope(old);
    const std::vector<std::shared_ptr<NSObject>> foreigners = {
        std::make_shared<TWQTAudioMarker>(1.0), nullptr};
    for (const auto& foreign : foreigners) {
        try {
            audio->setVolumeEnvelope(
                TWQTAudio::list({std::make_shared<TWQTVolumeEnvelopePoint>(0.0, 1.0), foreign}));
            FAIL() << "was taken";
        } catch (const NSException& exception) {
            EXPECT_EQ(exception.name().utf8(), "TWQTAudioException");
            EXPECT_EQ(exception.reason().utf8(),
                      "Envelope points do not conform to the TWQTVolumeEnvelopePoint protocol");
        }
        EXPECT_EQ(audio->volumeEnvelope(), old);
    }
    audio->setVolumeEnvelope(nullptr);
    EXPECT_EQ(audio->volumeEnvelope(), nullptr);
}

TEST_F(AudioVolume, AFadeOutReachesSilenceAndStopsThePlayer) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    audio->setVolumeEnvelope(envelope({}));
    audio->setVolume(1.0f);
    audio->play();
    clock_->advance(1.0);
    audio->fadeoutWithDuration(2.0, true);
    EXPECT_EQ(audio->TW_fadeoutStartTime, 1.0);
    EXPECT_EQ(audio->TW_fadeoutStartVolume, 1.0);
    EXPECT_EQ(audio->TW_fadeoutEndTime, 3.0);
    clock_->advance(1.0);
    EXPECT_NEAR(audio->volume(), 0.5f, 1e-5);
    EXPECT_TRUE(audio->isPlaying());
    clock_->advance(1.1);
    EXPECT_EQ(audio->volume(), 0.0f);
    EXPECT_TRUE(audio->isStopped());
    EXPECT_NEAR(audio->currentTimeInSeconds(), 3.0, 0.02);
}

TEST_F(AudioVolume, AFadeOutWithoutStopPlaysOnInSilence) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    audio->setVolumeEnvelope(envelope({}));
    audio->setVolume(1.0f);
    audio->play();
    audio->fadeoutWithDuration(2.0, false);
    clock_->advance(4.0);
    EXPECT_EQ(audio->volume(), 0.0f);
    EXPECT_TRUE(audio->isPlaying());
    EXPECT_EQ(audio->currentTimeInSeconds(), 4.0);
    // The next play() ends the fade-out.
    audio->setVolumeEnvelope(nullptr);
    audio->play();
    EXPECT_EQ(audio->TW_fadeoutStartTime, -1.0);
    EXPECT_EQ(audio->volume(), 1.0f);
}

TEST_F(AudioVolume, AFadeOutWithoutAnEnvelopeListEndsEachStepAtTheReferenceVolumeOnPurpose) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    audio->setReferenceVolume(0.75);
    audio->play();
    audio->fadeoutWithDuration(2.0, true);
    clock_->advance(1.0);
    EXPECT_FLOAT_EQ(audio->volume(), 0.75f);
    EXPECT_TRUE(audio->isPlaying());
    clock_->advance(1.1);
    EXPECT_TRUE(audio->isStopped());
    EXPECT_FLOAT_EQ(audio->volume(), 0.75f);
}

TEST_F(AudioVolume, AFadeOutDropsByTheReferenceVolumeAtItsFirstStepOnPurpose) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    audio->setReferenceVolume(0.5);
    audio->setVolumeEnvelope(envelope({{0, 1}, {10, 1}}));
    audio->play();
    EXPECT_FLOAT_EQ(audio->volume(), 0.5f);
    audio->fadeoutWithDuration(2.0, false);
    EXPECT_FLOAT_EQ(audio->volume(), 0.25f);
    clock_->advance(1.0);
    EXPECT_NEAR(audio->volume(), 0.5 * 1.0 * 0.25, 1e-5);
}

TEST_F(AudioVolume, EnvelopeAndFadeOutMultiply) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    audio->setVolumeEnvelope(envelope({{0, 1}, {10, 0}}));
    audio->play();
    audio->fadeoutWithDuration(4.0, false);
    clock_->advance(2.0);
    EXPECT_NEAR(audio->volume(), 0.8 * 0.5, 1e-5);
}

TEST_F(AudioVolume, StepsOfAnEnvelopeAndOfAFadeOutRunSideBySideOnPurpose) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    int steps = 0;
    const auto observer = std::make_shared<NSObject>();
    NSNotificationCenter::defaultCenter().addObserver(
        observer, [&](const NSNotification&) { ++steps; }, QTMovieVolumeDidChangeNotification,
        audio);
    audio->setVolumeEnvelope(envelope({{0, 1}, {10, 0}}));
    audio->play();
    steps = 0;
    clock_->advance(1.0);
    EXPECT_EQ(steps, 50);
    clock_->advance(0.01);  // between two steps of the envelope
    audio->fadeoutWithDuration(5.0, false);
    steps = 0;
    clock_->advance(1.0);
    EXPECT_EQ(steps, 100);
}

TEST_F(AudioVolume, AResumingPauseEndsAFadeOut) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    audio->setVolumeEnvelope(envelope({{0, 1}, {10, 1}}));
    audio->play();
    audio->fadeoutWithDuration(2.0, true);
    clock_->advance(1.0);
    audio->pause();
    audio->pause();
    EXPECT_EQ(audio->TW_fadeoutEndTime, -1.0);
    EXPECT_EQ(audio->TW_fadeoutStartVolume, 1.0);  // volumes keep their values
    EXPECT_FLOAT_EQ(audio->volume(), 1.0f);
    clock_->advance(3.0);
    EXPECT_TRUE(audio->isPlaying());
}

TEST_F(AudioVolume, StopEndsAllSteps) {
    const auto audio = loaded(file("long.wav", 1000, 12000));
    audio->setVolumeEnvelope(envelope({{0, 1}, {10, 0}}));
    audio->play();
    audio->fadeoutWithDuration(2.0, true);
    clock_->advance(0.5);
    audio->stop();
    audio->setVolume(0.9f);
    clock_->advance(5.0);
    EXPECT_NEAR(audio->volume(), 0.9f, 1e-6);
}

}  // namespace
}  // namespace TWQuickTime
