// The player's markers.
#include <gmock/gmock.h>

#include "AudioPlayer.h"
#include "NSException.h"

namespace TWQuickTime {
namespace {

using test::AudioPlayer;
using test::markersAt;
using test::OpenAudio;
using testing::ElementsAre;
using testing::IsEmpty;

class AudioMarkers : public AudioPlayer {
  protected:
    struct Firing {
        std::uint32_t index;
        double time;
        double delay;
    };

    std::shared_ptr<OpenAudio> withMarkers(const std::vector<double>& times) {
        auto audio = twoSeconds();
        audio->setMarkers(markersAt(times));
        delegate_->didFireMarkerForAudio = [this](TWQTAudio& player, std::uint32_t index) {
            EXPECT_EQ(player.lastMarkerIndex(), index);
            firings_.push_back({index, player.lastMarkerTime(), player.lastMarkerDelay()});
        };
        audio->setDelegate(delegate_);
        return audio;
    }

    std::vector<std::uint32_t> indices() const {
        std::vector<std::uint32_t> result;
        for (const Firing& firing : firings_)
            result.push_back(firing.index);
        return result;
    }

    const std::shared_ptr<TWQTAudioDelegate> delegate_ = std::make_shared<TWQTAudioDelegate>();
    std::vector<Firing> firings_;
};

TEST_F(AudioMarkers, FireHalfAVideoFrameEarly) {
    const auto audio = withMarkers({1.0, 1.9});
    audio->setVideoFrameRate(25);
    audio->play();
    clock_->advance(3);
    ASSERT_THAT(indices(), ElementsAre(0, 1));
    EXPECT_NEAR(firings_[0].time, 0.98, 0.0012);
    EXPECT_NEAR(firings_[1].time, 1.88, 0.0012);
    for (const Firing& firing : firings_) {
        EXPECT_GE(firing.delay, 0.0);
        EXPECT_LT(firing.delay, 0.0012);
    }
    EXPECT_DOUBLE_EQ(firings_[0].delay, firings_[0].time - 0.98);
    EXPECT_EQ(audio->lastMarkerIndex(), 1u);
}

TEST_F(AudioMarkers, FireAtTheirTimesWithoutAFrameRate) {
    for (const double frameRate : {0.0, -25.0}) {
        firings_.clear();
        const auto audio = withMarkers({0.5});
        audio->setVideoFrameRate(frameRate);
        audio->play();
        clock_->advance(1);
        ASSERT_THAT(indices(), ElementsAre(0));
        EXPECT_NEAR(firings_[0].time, 0.5, 0.0011);
        EXPECT_GE(firings_[0].time, 0.5);
    }
}

TEST_F(AudioMarkers, DoNotFireAtExactlyTheTimeAtWhichPlayingBegins) {
    const auto audio = withMarkers({0.0, 0.5});
    audio->play();
    clock_->advance(1);
    EXPECT_THAT(indices(), ElementsAre(1));
}

TEST_F(AudioMarkers, AreSkippedWhenALookComesBehindTwoOfThem) {
    // Near the first one looks come every millisecond from the start on.
    const auto audio = withMarkers({0.0503, 0.0508, 0.25});
    audio->play();
    clock_->advance(1);
    EXPECT_THAT(indices(), ElementsAre(0, 2));
}

TEST_F(AudioMarkers, AreNotLookedForWithoutAList) {
    const auto audio = twoSeconds();
    audio->setCurrentTimeInSeconds(0.5);
    EXPECT_EQ(loop_->secondsUntilNextPerform(), NSRunLoop::forever);
    audio->setMarkers(markersAt({}));
    audio->setCurrentTimeInSeconds(0.5);
    EXPECT_NEAR(loop_->secondsUntilNextPerform(), 0.001, 1e-9);
}

TEST_F(AudioMarkers, AreLookedForAgainAndAgainWhenNoneLiesAheadOnPurpose) {
    const auto audio = withMarkers({0.25});
    audio->setCurrentTimeInSeconds(1.0);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_NEAR(loop_->secondsUntilNextPerform(), 0.001, 1e-9);
        clock_->advance(0.001);
    }
    EXPECT_EQ(audio->TW_nextMarkerTime, -1.0);
    EXPECT_EQ(audio->TW_nextMarkerIndex, 0x7FFFFFFFu);
    audio->play();
    audio->stop();
    EXPECT_EQ(loop_->secondsUntilNextPerform(), NSRunLoop::forever);
}

TEST_F(AudioMarkers, AreSleptForUntilATenthOfASecondBefore) {
    const auto audio = withMarkers({1.5});
    audio->setCurrentTimeInSeconds(0.25);
    EXPECT_NEAR(loop_->secondsUntilNextPerform(), 1.15, 1e-9);
    audio->setMarkers(markersAt({0.35}));
    audio->setCurrentTimeInSeconds(0.25);
    EXPECT_NEAR(loop_->secondsUntilNextPerform(), 0.001, 1e-9);
}

TEST_F(AudioMarkers, OfALoopingRangeFireAgainInOrder) {
    const auto audio = withMarkers({0.1, 0.6, 0.7, 0.8, 1.5});
    audio->setMarkers(markersAt({0.1, 0.6, 0.7, 0.8}));
    audio->setInPointInSeconds(0.5);
    audio->setOutPointInSeconds(1.0);
    audio->setAudioLoops(true);
    audio->play();
    clock_->advance(1.75);
    EXPECT_THAT(indices(), ElementsAre(1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2));
}

TEST_F(AudioMarkers, BehindTheOutPointOfALoopKeepAllOthersFromFiringAgain) {
    const auto audio = withMarkers({0.6, 0.8, 1.5});
    audio->setInPointInSeconds(0.5);
    audio->setOutPointInSeconds(1.0);
    audio->setAudioLoops(true);
    audio->play();
    clock_->advance(5);
    EXPECT_THAT(indices(), ElementsAre(0, 1));
    EXPECT_EQ(audio->TW_nextMarkerIndex, 2u);
    EXPECT_EQ(audio->TW_nextMarkerTime, 1.5);
}

TEST_F(AudioMarkers, AreSearchedAgainAfterEachSeek) {
    const auto audio = withMarkers({0.25, 0.5, 0.75});
    audio->play();
    clock_->advance(0.3);
    audio->setCurrentTimeInSeconds(0.7);
    clock_->advance(0.1);
    audio->setCurrentTimeInSeconds(0.2);
    clock_->advance(0.1);
    EXPECT_THAT(indices(), ElementsAre(0, 2, 0));
}

TEST_F(AudioMarkers, FireOnceAlsoWhenASeekLeavesTwoChainsOfLooks) {
    const auto audio = withMarkers({0.25, 0.5, 0.75});
    audio->play();
    clock_->advance(0.2);
    for (int i = 0; i < 5; ++i)
        audio->setCurrentTimeInSeconds(0.2);
    clock_->advance(1.0);
    EXPECT_THAT(indices(), ElementsAre(0, 1, 2));
}

TEST_F(AudioMarkers, OfANewListAreWaitedForAfterTheOneThatIsPending) {
    const auto audio = withMarkers({0.5});
    audio->play();
    clock_->advance(0.1);
    audio->setMarkers(markersAt({0.2, 0.6}));
    clock_->advance(1);
    // The pending one fires under its old index, then the new list is searched.
    EXPECT_THAT(indices(), ElementsAre(0, 1));
    EXPECT_NEAR(firings_[0].time, 0.5, 0.0011);
    EXPECT_NEAR(firings_[1].time, 0.6, 0.0011);
}

TEST_F(AudioMarkers, OutOfOrderAreTakenInTheOrderOfTheirList) {
    const auto audio = withMarkers({0.75, 0.25, 0.5});
    audio->play();
    clock_->advance(1);
    EXPECT_THAT(indices(), ElementsAre(0));
}

TEST_F(AudioMarkers, KeepTheLastFiringAcrossStopPlayAndSeek) {
    const auto audio = withMarkers({0.25});
    audio->play();
    clock_->advance(0.5);
    const double time = audio->lastMarkerTime();
    const double delay = audio->lastMarkerDelay();
    audio->stop();
    audio->play();
    audio->setCurrentTimeInSeconds(1.0);
    EXPECT_EQ(audio->lastMarkerIndex(), 0u);
    EXPECT_EQ(audio->lastMarkerTime(), time);
    EXPECT_EQ(audio->lastMarkerDelay(), delay);
}

TEST_F(AudioMarkers, AreKeptWithTheirNames) {
    const auto audio = twoSeconds();
    const auto marker = std::make_shared<TWQTAudioMarker>();
    marker->setTime(0.5);
    marker->setName("Chorus");
    audio->setMarkers(TWQTAudio::list({marker}));
    const auto& kept = dynamic_cast<const TWQTAudioMarker&>(*audio->markers()->front());
    EXPECT_EQ(kept.name().utf8(), "Chorus");
    EXPECT_EQ(kept.time(), 0.5);
}

TEST_F(AudioMarkers, OfAClassOfTheApplicationCountToo) {
    class Cue : public TWQTAudioMarker {
        double time() const override { return 0.125; }
    };
    const auto audio = withMarkers({});
    audio->setMarkers(TWQTAudio::list({std::make_shared<Cue>()}));
    audio->play();
    clock_->advance(0.5);
    ASSERT_THAT(indices(), ElementsAre(0));
    EXPECT_NEAR(firings_[0].time, 0.125, 0.0011);
}

TEST_F(AudioMarkers, AreRefusedWithAForeignObjectAndTheOldListStays) {
    const auto audio = twoSeconds();
    const auto old = markersAt({0.5});
    audio->setMarkers(old);
    const std::vector<std::shared_ptr<NSObject>> foreigners = {
        std::make_shared<TWQTVolumeEnvelopePoint>(0.0, 1.0), nullptr};
    for (const auto& foreign : foreigners) {
        try {
            audio->setMarkers(TWQTAudio::list({std::make_shared<TWQTAudioMarker>(0.0), foreign}));
            FAIL() << "was taken";
        } catch (const NSException& exception) {
            EXPECT_EQ(exception.name().utf8(), "TWQTAudioException");
            EXPECT_EQ(exception.reason().utf8(),
                      "Audiomarkers do not conform to the TWQTAudioMarker protocol");
        }
        EXPECT_EQ(audio->markers(), old);
    }
}

TEST_F(AudioMarkers, FireWithoutADelegateToo) {
    const auto audio = twoSeconds();
    audio->setMarkers(markersAt({0.25, 0.5}));
    audio->play();
    clock_->advance(1);
    EXPECT_EQ(audio->lastMarkerIndex(), 1u);
}

}  // namespace
}  // namespace TWQuickTime
