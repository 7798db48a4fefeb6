#include "TWQTAudio.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <thread>
#include <typeinfo>

#include "AudioPlayer.h"

namespace TWQuickTime {
namespace {

using test::AudioPlayer;
using test::OpenAudio;
using testing::ElementsAre;
using testing::IsEmpty;

// Creation.

TEST_F(AudioPlayer, HasItsInitialValuesWhenItIsMade) {
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(audio->inPoint(), QTZeroTime);
    EXPECT_EQ(audio->outPoint(), QTIndefiniteTime);
    EXPECT_EQ(audio->TW_duration, QTZeroTime);
    EXPECT_FALSE(audio->audioLoops());
    EXPECT_EQ(audio->videoFrameRate(), 0.0);
    EXPECT_EQ(audio->updateUserInterfaceInterval(), 0.25);
    EXPECT_EQ(audio->flags(), "- - -");
    EXPECT_EQ(audio->referenceVolume(), 1.0);
    EXPECT_EQ(audio->volumeGamma(), 2.2);
    EXPECT_EQ(audio->volumeEnvelope(), nullptr);
    EXPECT_EQ(audio->TW_envelopeStartTime, 0.0);
    EXPECT_EQ(audio->TW_fadeoutStartTime, 0.0);
    EXPECT_FALSE(audio->TW_fadeoutStop);
    EXPECT_EQ(audio->markers(), nullptr);
    EXPECT_EQ(audio->TW_nextMarkerIndex, 0x7FFFFFFFu);
    EXPECT_EQ(audio->TW_nextMarkerTime, -1.0);
    EXPECT_EQ(audio->lastMarkerIndex(), 0x7FFFFFFFu);
    EXPECT_EQ(audio->lastMarkerTime(), -1.0);
    EXPECT_EQ(audio->lastMarkerDelay(), -1.0);
}

TEST_F(AudioPlayer, ExportsItsConstants) {
    EXPECT_EQ(kDefaultVolumeGamma, 2.2);
    EXPECT_EQ(kFadeDeltaTime, 0.02);
    EXPECT_EQ(kMarkerDeltaTime, 0.001);
    EXPECT_EQ(kMarkerSleepThreshold, 0.1);
}

TEST_F(AudioPlayer, IsOfItsOwnClassAlsoWhenASubclassIsAskedForIt) {
    const NSString path(file("a.wav", 8000, 8000));
    NSError error = NSError::errorWithDomain("domain", 1);
    const auto byFile = OpenAudio::audioWithFile(path, "ignored device", &error);
    ASSERT_NE(byFile, nullptr);
    EXPECT_TRUE(error.isNil());
    EXPECT_EQ(typeid(*byFile), typeid(TWQTAudio));
    const auto byURL = OpenAudio::audioWithURL(NSURL::fileURLWithPath(path), nullptr, nullptr);
    ASSERT_NE(byURL, nullptr);
    EXPECT_EQ(typeid(*byURL), typeid(TWQTAudio));
    EXPECT_EQ(byURL->attributeForKey(QTMovieFileNameAttribute).stringValue(), path);
}

TEST_F(AudioPlayer, IsNoneForAFileThatCannotBeOpenedAndHandsOutTheError) {
    NSError error;
    EXPECT_EQ(TWQTAudio::initWithFile("/no/such/song.wav", nullptr, &error), nullptr);
    EXPECT_EQ(error.domain().utf8(), NSOSStatusErrorDomain);
    EXPECT_EQ(error.code(), -43);
    EXPECT_EQ(TWQTAudio::initWithFile(nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(TWQTAudio::initWithURL(nullptr, nullptr, &error), nullptr);
    EXPECT_EQ(error.code(), -50);
}

// Loading.

TEST_F(AudioPlayer, TellsEachLoadStateAsItIsReached) {
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    EXPECT_EQ(audio->TW_loadState(), 1000);
    EXPECT_EQ(audio->durationInSeconds(), 0.0);
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    for (int i = 0; i < 20; ++i)
        loop_->runOnce();
    EXPECT_THAT(told_, ElementsAre("loadState 2000", "loadState 10000", "loadState 20000",
                                   "loadState 100000"));
    EXPECT_EQ(audio->durationInSeconds(), 1.0);
}

TEST_F(AudioPlayer, SetsTheOutPointInEveryLoadStateButExactly2000) {
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    const auto delegate = std::make_shared<TWQTAudioDelegate>();
    std::vector<std::pair<std::int32_t, bool>> outPointIsKnown;
    delegate->didChangeLoadState = [&](std::int32_t state, TWQTAudio& player) {
        outPointIsKnown.emplace_back(state, !QTTimeIsIndefinite(player.outPoint()));
    };
    audio->setDelegate(delegate);
    for (int i = 0; i < 20; ++i)
        loop_->runOnce();
    EXPECT_THAT(outPointIsKnown, ElementsAre(std::pair{2000, false}, std::pair{10000, true},
                                             std::pair{20000, true}, std::pair{100000, true}));
    EXPECT_EQ(audio->outPoint(), audio->duration());
}

TEST_F(AudioPlayer, KeepsAnOutPointThatWasSetBeforeItWasLoaded) {
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    audio->setOutPoint(QTMakeTime(1, 2));
    audio->setAudioLoops(true);
    for (int i = 0; i < 20; ++i)
        loop_->runOnce();
    EXPECT_EQ(audio->outPoint(), QTMakeTime(1, 2));
    EXPECT_TRUE(audio->attributeForKey(QTMovieLoopsAttribute).boolValue());
    EXPECT_EQ(audio->attributeForKey(QTMovieSelectionAttribute).timeRangeValue(),
              QTMakeTimeRange(QTZeroTime, QTMakeTimeWithTimeInterval(0.5)));
    EXPECT_TRUE(audio->attributeForKey(QTMoviePlaysSelectionOnlyAttribute).boolValue());
}

TEST_F(AudioPlayer, TellsTheErrorStateOfAFileThatIsNoSound) {
    const std::string path = folder_.file("notes.wav");
    std::ofstream(path) << "Not a note in here.\n";
    const auto audio = OpenAudio::open(path);
    ASSERT_NE(audio, nullptr);
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->play();
    EXPECT_GT(audio->rate(), 0);
    for (int i = 0; i < 20; ++i)
        loop_->runOnce();
    EXPECT_EQ(audio->rate(), 0);
    EXPECT_EQ(audio->TW_loadState(), -1);
    EXPECT_EQ(told_.back(), "loadState -1");
}

/// Counts sleeps and gives up after some, as the player never does.
class CountingClock : public ManualClock {
  public:
    struct GaveUp {};
    void sleepForSeconds(double seconds) override {
        EXPECT_EQ(seconds, 1.0);
        if (++sleeps_ >= 1000)
            throw GaveUp();
        ManualClock::sleepForSeconds(seconds);
    }
    int sleeps() const { return sleeps_; }

  private:
    int sleeps_ = 0;
};

TEST_F(AudioPlayer, WaitUntilLoadedSleepsWholeSecondsUntilItIsLoaded) {
    const auto clock = std::make_shared<CountingClock>();
    loop_->setClock(clock);
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    EXPECT_EQ(audio->TW_loadState(), 1000);
    audio->waitUntilLoaded();
    EXPECT_EQ(clock->sleeps(), 1);
    EXPECT_EQ(audio->TW_loadState(), 2000);
    audio->waitUntilLoaded();
    EXPECT_EQ(clock->sleeps(), 1);
}

TEST_F(AudioPlayer, TellsTheStateThatWaitUntilLoadedReachedWhenTheLoopRuns) {
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->waitUntilLoaded();
    EXPECT_THAT(told_, IsEmpty());
    for (int i = 0; i < 20; ++i)
        loop_->runOnce();
    EXPECT_THAT(told_, ElementsAre("loadState 2000", "loadState 10000", "loadState 20000",
                                   "loadState 100000"));
}

TEST_F(AudioPlayer, WaitUntilLoadedKeepsWaitingForAFileThatFailedOnPurpose) {
    const auto clock = std::make_shared<CountingClock>();
    loop_->setClock(clock);
    const std::string path = folder_.file("notes.wav");
    std::ofstream(path) << "Not a note in here.\n";
    const auto audio = OpenAudio::open(path);
    EXPECT_THROW(audio->waitUntilLoaded(), CountingClock::GaveUp);
    EXPECT_EQ(clock->sleeps(), 1000);
    EXPECT_EQ(audio->TW_loadState(), -1);
}

TEST_F(AudioPlayer, CanBeWaitedForOnAnotherThreadWhileItsRunLoopRuns) {
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    std::atomic<bool> isLoaded = false;
    std::thread waiting([&] {
        NSRunLoop::currentRunLoop()->setClock(std::make_shared<ManualClock>());
        audio->waitUntilLoaded();
        isLoaded = true;
    });
    while (!isLoaded)
        loop_->runOnce();
    waiting.join();
    EXPECT_GE(audio->TW_loadState(), 2000);
}

// Times.

TEST_F(AudioPlayer, TurnsSecondsIntoTimesOfItsOwnScale) {
    const auto audio = twoSeconds();
    audio->TW_duration = QTMakeTime(1200, 600);
    EXPECT_EQ(audio->TW_timeFromSeconds(1.5), QTMakeTime(900, 600));
    EXPECT_EQ(audio->TW_timeFromSeconds(0.0012), QTMakeTime(1, 600));  // 0.72 + 0.5
    EXPECT_EQ(audio->TW_timeFromSeconds(-0.01), QTMakeTime(-5, 600));  // -6 + 0.5, toward zero
    EXPECT_EQ(audio->TW_secondsFromTime(QTMakeTime(900, 600)), 1.5);
}

TEST_F(AudioPlayer, HoldsSecondsThatNoTimeCanCountWithin64Bits) {
    using Limits = std::numeric_limits<std::int64_t>;
    const double infinity = std::numeric_limits<double>::infinity();
    const auto audio = twoSeconds();
    audio->TW_duration = QTMakeTime(1200, 600);
    for (const double huge : {1e30, 9223372036854775807.0 / 600, infinity})
        EXPECT_EQ(audio->TW_timeFromSeconds(huge), QTMakeTime(Limits::max(), 600));
    for (const double huge : {-1e30, -infinity})
        EXPECT_EQ(audio->TW_timeFromSeconds(huge), QTMakeTime(Limits::min(), 600));
    EXPECT_EQ(audio->TW_timeFromSeconds(std::nan("")), QTMakeTime(0, 600));
}

TEST_F(AudioPlayer, PlaysToItsEndWhateverItsOutPointIs) {
    for (const double end : {1e30, std::numeric_limits<double>::infinity()}) {
        const auto audio = twoSeconds();
        audio->setOutPointInSeconds(end);
        audio->setCurrentTimeInSeconds(end);
        EXPECT_LE(audio->currentTimeInSeconds(), 2.0);
        audio->setCurrentTimeInSeconds(std::nan(""));
        EXPECT_EQ(audio->currentTimeInSeconds(), 0.0);
        audio->play();
        EXPECT_TRUE(audio->isPlaying());
        audio->stop();
    }
}

TEST_F(AudioPlayer, AsksForADurationOfZeroAgainAndKeepsAnyOther) {
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    EXPECT_EQ(audio->durationInSeconds(), 0.0);
    for (int i = 0; i < 20; ++i)
        loop_->runOnce();
    EXPECT_EQ(audio->durationInSeconds(), 1.0);
    audio->TW_duration = QTMakeTime(5, 1);
    EXPECT_EQ(audio->durationInSeconds(), 5.0);
}

TEST_F(AudioPlayer, SetsItsPointsInSeconds) {
    const auto audio = twoSeconds();
    audio->setInPointInSeconds(0.5);
    audio->setOutPointInSeconds(1.25);
    EXPECT_EQ(audio->inPointInSeconds(), 0.5);
    EXPECT_EQ(audio->outPointInSeconds(), 1.25);
    audio->setCurrentTimeInSeconds(0.75);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.75);
}

// Transport.

TEST_F(AudioPlayer, TellsWhatPlayAndStopDo) {
    const auto audio = twoSeconds();
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->play();
    EXPECT_EQ(audio->flags(), "playing - -");
    EXPECT_TRUE(audio->isPlaying());
    EXPECT_TRUE(audio->isPaused());  // on purpose: the paused flag does not count
    EXPECT_FALSE(audio->isStopped());
    clock_->advance(0.5);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.5);
    audio->stop();
    EXPECT_EQ(audio->flags(), "- - stopped");
    EXPECT_FALSE(audio->isPaused());
    EXPECT_TRUE(audio->isStopped());
    clock_->advance(1);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.5);
    EXPECT_THAT(told_, ElementsAre("willStart", "didStart", "willStop", "didStop"));
}

TEST_F(AudioPlayer, IsNeitherPausedNorStoppedWhenItIsMade) {
    const auto audio = twoSeconds();
    EXPECT_FALSE(audio->isPlaying());
    EXPECT_FALSE(audio->isPaused());
    EXPECT_FALSE(audio->isStopped());
}

TEST_F(AudioPlayer, StopWhileNotPlayingTellsNothingAndCancelsNothingButIsStopped) {
    const auto audio = twoSeconds();
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->setMarkers(test::markersAt({5.0}));
    audio->setCurrentTimeInSeconds(0.5);  // looks for markers from now on
    const double beforeStop = loop_->secondsUntilNextPerform();
    audio->stop();
    EXPECT_THAT(told_, IsEmpty());
    EXPECT_EQ(audio->flags(), "- - stopped");
    EXPECT_EQ(loop_->secondsUntilNextPerform(), beforeStop);
    EXPECT_LT(beforeStop, 10.0);
}

TEST_F(AudioPlayer, TwoPausesInARowStopItAndPlayItAgain) {
    const auto audio = twoSeconds();
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->play();
    clock_->advance(0.25);
    told_.clear();
    audio->pause();
    EXPECT_EQ(audio->rate(), 0);
    EXPECT_EQ(audio->flags(), "- paused -");  // the rate's notification cleared the playing flag
    clock_->advance(0.25);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.25);
    audio->pause();
    EXPECT_EQ(audio->rate(), 1);
    EXPECT_EQ(audio->flags(), "playing - -");
    clock_->advance(0.25);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.5);
    EXPECT_THAT(told_, ElementsAre("didStop", "didStart"));
}

TEST_F(AudioPlayer, PauseOfAPlayerThatNeverPlayedPlaysIt) {
    const auto audio = twoSeconds();
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->pause();
    EXPECT_EQ(audio->flags(), "playing - -");
    EXPECT_THAT(told_, ElementsAre("didStart"));
}

TEST_F(AudioPlayer, SettingTheTimeNeitherStartsNorStopsIt) {
    const auto audio = twoSeconds();
    audio->play();
    audio->setCurrentTimeInSeconds(1.0);
    EXPECT_EQ(audio->rate(), 1);
    clock_->advance(0.25);
    EXPECT_EQ(audio->currentTimeInSeconds(), 1.25);
    audio->stop();
    audio->setCurrentTimeInSeconds(0.5);
    EXPECT_EQ(audio->rate(), 0);
    clock_->advance(0.25);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.5);
}

TEST_F(AudioPlayer, KeepsARateOfItsOwnWhenTheTimeIsSet) {
    const auto audio = twoSeconds();
    audio->play();
    audio->setRate(0.5);
    audio->setCurrentTimeInSeconds(1.0);
    EXPECT_EQ(audio->rate(), 0.5f);
    clock_->advance(0.5);
    EXPECT_NEAR(audio->currentTimeInSeconds(), 1.25, 0.001);
}

TEST_F(AudioPlayer, ReportsTheEndWhenItReachesTheDuration) {
    const auto audio = twoSeconds();
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->play();
    clock_->advance(3);
    EXPECT_THAT(told_, ElementsAre("willStart", "didStart", "didStop at the end"));
    EXPECT_EQ(audio->flags(), "- - stopped");
    EXPECT_EQ(audio->currentTime(), audio->duration());
    EXPECT_EQ(audio->rate(), 0);
}

TEST_F(AudioPlayer, ReportsTheEndOfADurationThatIsNoWholeMillionthOfASecond) {
    const auto audio = loaded(file("odd.wav", 44100, 44123));
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->play();
    clock_->advance(3);
    EXPECT_THAT(told_, ElementsAre("willStart", "didStart", "didStop at the end"));
    EXPECT_EQ(audio->currentTime(), audio->duration());
}

TEST_F(AudioPlayer, ReportsNoEndAtAnOutPointBeforeTheDuration) {
    const auto audio = twoSeconds();
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->setInPointInSeconds(0.5);
    audio->setOutPointInSeconds(1.0);
    audio->play();
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.5);
    clock_->advance(3);
    EXPECT_THAT(told_, ElementsAre("willStart", "didStart", "didStop"));
    EXPECT_EQ(audio->flags(), "- - -");
    EXPECT_EQ(audio->currentTimeInSeconds(), 1.0);
}

TEST_F(AudioPlayer, PlaysItsRangeAgainAfterItsEnd) {
    const auto audio = twoSeconds();
    audio->setInPointInSeconds(0.5);
    audio->play();
    clock_->advance(3);
    EXPECT_EQ(audio->currentTimeInSeconds(), 2.0);
    audio->play();
    clock_->advance(0.25);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.75);
}

TEST_F(AudioPlayer, ANewInPointIsNotPlayedBeforeTheNextPlay) {
    const auto audio = twoSeconds();
    audio->play();
    clock_->advance(0.25);
    audio->setInPointInSeconds(1.0);
    audio->setOutPointInSeconds(1.5);
    clock_->advance(0.25);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.5);
    audio->play();
    clock_->advance(0.25);
    EXPECT_EQ(audio->currentTimeInSeconds(), 1.25);
}

TEST_F(AudioPlayer, LoopsItsRange) {
    const auto audio = twoSeconds();
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->setInPointInSeconds(0.5);
    audio->setOutPointInSeconds(1.0);
    audio->setAudioLoops(true);
    audio->play();
    clock_->advance(3600.125);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.625);
    EXPECT_THAT(told_, ElementsAre("willStart", "didStart"));
    audio->setAudioLoops(false);
    clock_->advance(1);
    EXPECT_EQ(audio->currentTimeInSeconds(), 1.0);
    EXPECT_EQ(told_.back(), "didStop");
}

TEST_F(AudioPlayer, ARangeOfNothingEndsAtOnceAlsoWhenItLoops) {
    const auto audio = twoSeconds();
    audio->setInPointInSeconds(1.0);
    audio->setOutPointInSeconds(1.0);
    audio->setAudioLoops(true);
    audio->play();
    clock_->advance(0.01);
    EXPECT_EQ(audio->rate(), 0);
    EXPECT_EQ(audio->currentTimeInSeconds(), 1.0);
    audio->setInPointInSeconds(1.5);  // behind the out point
    audio->play();
    clock_->advance(0.01);
    EXPECT_EQ(audio->rate(), 0);
}

TEST_F(AudioPlayer, RefreshesTheUserInterfaceAtItsInterval) {
    const auto audio = twoSeconds();
    const auto delegate = std::make_shared<TWQTAudioDelegate>();
    std::vector<double> refreshes;
    delegate->updateUserInterfaceForAudio = [&](TWQTAudio& player) {
        refreshes.push_back(player.currentTimeInSeconds());
    };
    audio->setDelegate(delegate);
    audio->play();
    clock_->advance(0.8);
    EXPECT_THAT(refreshes, ElementsAre(0.0, 0.25, 0.5, 0.75));
    audio->setUpdateUserInterfaceInterval(0.5);
    clock_->advance(0.8);
    EXPECT_THAT(refreshes, ElementsAre(0.0, 0.25, 0.5, 0.75, 1.0, 1.5));
    audio->stop();
    clock_->advance(2);
    EXPECT_EQ(refreshes.size(), 6u);
}

TEST_F(AudioPlayer, EndsTheRefreshWithoutADelegateThatWantsIt) {
    const auto audio = twoSeconds();
    auto delegate = std::make_shared<TWQTAudioDelegate>();
    int refreshes = 0;
    delegate->updateUserInterfaceForAudio = [&](TWQTAudio&) { ++refreshes; };
    audio->setDelegate(delegate);
    audio->play();
    clock_->advance(0.3);
    delegate.reset();
    clock_->advance(0.3);
    delegate = std::make_shared<TWQTAudioDelegate>();
    delegate->updateUserInterfaceForAudio = [&](TWQTAudio&) { ++refreshes; };
    audio->setDelegate(delegate);
    clock_->advance(0.3);
    EXPECT_EQ(refreshes, 2);
}

TEST_F(AudioPlayer, PlaysWithoutADelegateAndWithAnEmptyOne) {
    const auto audio = twoSeconds();
    audio->setMarkers(test::markersAt({0.5}));
    audio->play();
    clock_->advance(3);
    EXPECT_TRUE(audio->isStopped());
    const auto delegate = std::make_shared<TWQTAudioDelegate>();
    audio->setDelegate(delegate);
    audio->play();
    clock_->advance(3);
    EXPECT_TRUE(audio->isStopped());
    const auto ofAMovie = std::make_shared<QTMovieDelegate>();
    audio->setDelegate(ofAMovie);
    audio->play();
    clock_->advance(3);
    EXPECT_TRUE(audio->isStopped());
}

TEST_F(AudioPlayer, StartsWhenItIsLoadedIfItWasToldToPlayBefore) {
    const auto audio = OpenAudio::open(file("a.wav", 8000, 8000));
    const auto delegate = scribe();
    audio->setDelegate(delegate);
    audio->play();
    EXPECT_THAT(told_, ElementsAre("willStart", "didStart"));
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.0);
    while (audio->TW_loadState() < 100000)
        loop_->runOnce();
    clock_->advance(0.5);
    EXPECT_EQ(audio->currentTimeInSeconds(), 0.5);
    clock_->advance(1);
    EXPECT_EQ(told_.back(), "didStop at the end");
}

// The end of a player.

TEST_F(AudioPlayer, TellsThatItStopsWhenItGoesWhilePlayingAndThenNothingMore) {
    const auto delegate = scribe();
    delegate->updateUserInterfaceForAudio = [this](TWQTAudio&) { told_.push_back("refresh"); };
    {
        const auto audio = twoSeconds();
        audio->setMarkers(test::markersAt({0.1, 0.2, 0.3}));
        audio->setVolumeEnvelope(test::envelope({{0, 1}, {2, 0}}));
        audio->setDelegate(delegate);
        audio->play();
        clock_->advance(0.05);
        told_.clear();
    }
    EXPECT_THAT(told_, ElementsAre("willStop"));
    clock_->advance(3);
    EXPECT_THAT(told_, ElementsAre("willStop"));
}

TEST_F(AudioPlayer, GoesQuietlyInEveryOtherState) {
    const auto delegate = scribe();
    std::vector<void (*)(AudioPlayer&, OpenAudio&, ManualClock&)> states = {
        [](AudioPlayer&, OpenAudio&, ManualClock&) {},
        [](AudioPlayer&, OpenAudio& audio, ManualClock&) { audio.setCurrentTimeInSeconds(1); },
        [](AudioPlayer&, OpenAudio& audio, ManualClock& clock) {
            audio.play();
            clock.advance(0.1);
            audio.pause();
        },
        [](AudioPlayer&, OpenAudio& audio, ManualClock& clock) {
            audio.play();
            clock.advance(0.1);
            audio.stop();
        },
        [](AudioPlayer&, OpenAudio& audio, ManualClock& clock) {
            audio.play();
            clock.advance(3);
        },
    };
    for (const auto reach : states) {
        {
            const auto audio = twoSeconds();
            audio->setMarkers(test::markersAt({0.05, 1.5}));
            audio->setDelegate(delegate);
            reach(*this, *audio, *clock_);
            told_.clear();
        }
        clock_->advance(3);
        EXPECT_THAT(told_, IsEmpty());
    }
    {
        const auto loading = OpenAudio::open(file("b.wav", 8000, 8000));
        loading->setDelegate(delegate);
    }
    clock_->advance(1);
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(AudioPlayer, MayBeReleasedInsideEachCallOfItsDelegate) {
    using Delegate = TWQTAudioDelegate;
    std::shared_ptr<OpenAudio> audio;
    int calls = 0;
    const auto release = [&] {
        ++calls;
        audio.reset();
    };
    const std::vector<std::function<void(Delegate&)>> places = {
        [&](Delegate& d) { d.willStartPlayingAudio = [&](TWQTAudio&) { release(); }; },
        [&](Delegate& d) { d.didStartPlayingAudio = [&](TWQTAudio&) { release(); }; },
        [&](Delegate& d) { d.willStopPlayingAudio = [&](TWQTAudio&) { release(); }; },
        [&](Delegate& d) { d.didStopPlayingAudio = [&](TWQTAudio&, bool) { release(); }; },
        [&](Delegate& d) { d.updateUserInterfaceForAudio = [&](TWQTAudio&) { release(); }; },
        [&](Delegate& d) {
            d.didFireMarkerForAudio = [&](TWQTAudio&, std::uint32_t) { release(); };
        },
        [&](Delegate& d) { d.didChangeLoadState = [&](std::int32_t, TWQTAudio&) { release(); }; },
    };
    for (const auto& place : places) {
        const auto delegate = std::make_shared<Delegate>();
        place(*delegate);
        calls = 0;
        audio = OpenAudio::open(file("two.wav", 8000, 16000));
        audio->setDelegate(delegate);
        const std::weak_ptr<OpenAudio> weak = audio;
        for (int i = 0; i < 20; ++i)
            loop_->runOnce();
        if (audio) {
            audio->setMarkers(test::markersAt({0.1, 0.2}));
            audio->play();
        }
        clock_->advance(0.5);
        if (audio)
            audio->stop();
        clock_->advance(3);
        EXPECT_EQ(audio, nullptr);
        EXPECT_TRUE(weak.expired());
        EXPECT_GE(calls, 1);
        const int callsAtTheEnd = calls;
        clock_->advance(3);
        EXPECT_EQ(calls, callsAtTheEnd);
    }
}

TEST_F(AudioPlayer, ReleasesItsMarkersButNotItsEnvelopeWhenItGoesOnPurpose) {
    auto markers = test::markersAt({1});
    auto points = test::envelope({{0, 1}, {1, 0}});
    const std::weak_ptr<const std::vector<std::shared_ptr<NSObject>>> weakMarkers = markers;
    const std::weak_ptr<const std::vector<std::shared_ptr<NSObject>>> weakPoints = points;
    auto audio = twoSeconds();
    audio->setMarkers(markers);
    audio->setVolumeEnvelope(points);
    markers.reset();
    points.reset();
    EXPECT_FALSE(weakMarkers.expired());
    audio.reset();
    EXPECT_TRUE(weakMarkers.expired());
    EXPECT_FALSE(weakPoints.expired());
}

TEST_F(AudioPlayer, HandsOutItsRangeAndListsOnOtherThreadsWhileTheyAreSet) {
    const auto audio = twoSeconds();
    const auto first = test::markersAt({1});
    const auto second = test::envelope({{0, 1}, {1, 0}});
    std::atomic<bool> isDone = false;
    std::thread reader([&] {
        while (!isDone) {
            const QTTime in = audio->inPoint();
            EXPECT_EQ(in.timeValue, in.timeScale - 1);
            const auto markers = audio->markers();
            EXPECT_TRUE(!markers || markers->size() == 1);
            const auto points = audio->volumeEnvelope();
            EXPECT_TRUE(!points || points->size() == 2);
        }
    });
    for (int i = 0; i < 20000; ++i) {
        audio->setInPoint(QTMakeTime(i, i + 1));
        audio->setMarkers(i % 2 ? first : nullptr);
        audio->setVolumeEnvelope(i % 2 ? second : nullptr);
    }
    isDone = true;
    reader.join();
}

}  // namespace
}  // namespace TWQuickTime
