// What movies do as time goes by, on a run loop whose clock the tests move.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "NSNotificationCenter.h"
#include "NSObject.h"
#include "NSRunLoop.h"
#include "QTMovie.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "WaveFile.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PlayingMovie : public testing::Test {
  protected:
    PlayingMovie() { loop_->setClock(clock_); }
    ~PlayingMovie() override { loop_->setClock(nullptr); }

    /// Two seconds of grey pictures, and of silence if that is wanted.
    std::shared_ptr<QTMovie> movie(bool withSound = true) {
        const Movie inner = NewMovie(newMovieActive);
        test::addVideoTrack(inner, 25, 50);
        if (withSound)
            test::addSoundTrack(inner, 8000, 16000);
        auto movie = QTMovie::movieWithQuickTimeMovie(inner, true, nullptr);
        listenTo(movie);
        return movie;
    }

    void listenTo(const std::shared_ptr<QTMovie>& movie) {
        NSNotificationCenter::defaultCenter().addObserver(
            observer_,
            [this](const NSNotification& notification) {
                const auto& sender = *static_cast<QTMovie*>(notification.object().get());
                heard_.push_back(notification.name().utf8() + " at " +
                                 std::to_string(std::lround(seconds(sender.currentTime()) * 1000)));
            },
            nullptr, movie);
    }

    static double seconds(QTTime time) {
        return static_cast<double>(time.timeValue) / time.timeScale;
    }

    const std::shared_ptr<NSRunLoop> loop_ = NSRunLoop::currentRunLoop();
    const std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
    const std::shared_ptr<NSObject> observer_ = std::make_shared<NSObject>();
    std::vector<std::string> heard_;
};

TEST_F(PlayingMovie, RunsFromStartToEndAndTellsBoth) {
    const auto movie = this->movie();
    EXPECT_EQ(movie->rate(), 0);
    movie->play();
    EXPECT_EQ(movie->rate(), 1);
    clock_->advance(1.25);
    EXPECT_EQ(seconds(movie->currentTime()), 1.25);
    clock_->advance(1);
    EXPECT_EQ(movie->rate(), 0);
    EXPECT_EQ(movie->currentTime(), movie->duration());
    EXPECT_THAT(heard_, ElementsAre("QTMovieRateDidChangeNotification at 0",
                                    "QTMovieRateDidChangeNotification at 2000",
                                    "QTMovieDidEndNotification at 2000"));
}

TEST_F(PlayingMovie, OfPicturesAloneRunsToo) {
    const auto movie = this->movie(false);
    movie->setRate(2);
    clock_->advance(0.5);
    EXPECT_NEAR(seconds(movie->currentTime()), 1.0, 0.001);
    clock_->advance(1);
    EXPECT_EQ(movie->currentTime(), movie->duration());
    EXPECT_EQ(heard_.back(), "QTMovieDidEndNotification at 2000");
}

TEST_F(PlayingMovie, StandsWhereItWasStopped) {
    const auto movie = this->movie();
    movie->play();
    clock_->advance(0.7301);
    movie->stop();
    EXPECT_NEAR(seconds(movie->currentTime()), 0.7301, 0.000125);
    EXPECT_EQ(GetMovieTime(movie->quickTimeMovie(), nullptr), 438);
    clock_->advance(1);
    EXPECT_NEAR(seconds(movie->currentTime()), 0.7301, 0.000125);
    movie->play();
    clock_->advance(0.25);
    EXPECT_NEAR(seconds(movie->currentTime()), 0.9801, 0.00025);
}

TEST_F(PlayingMovie, GoesToWhereTheToolboxSetIt) {
    const auto movie = this->movie();
    movie->play();
    clock_->advance(0.7301);
    movie->stop();
    SetMovieTimeValue(movie->quickTimeMovie(), 300);
    EXPECT_EQ(movie->currentTime(), QTMakeTime(300, 600));
}

TEST_F(PlayingMovie, PlaysAtEveryPositiveRate) {
    for (const float rate : {0.01f, 0.5f, 0.999f, 1.5f, 4.0f, 100.0f}) {
        const auto movie = this->movie();
        EXPECT_EQ(movie->setRate(rate), noErr);
        EXPECT_EQ(movie->rate(), rate);
        clock_->advance(1.0 / rate);
        EXPECT_NEAR(seconds(movie->currentTime()), 1.0, 0.001) << rate;
        clock_->advance(1.1 / rate);
        EXPECT_EQ(movie->rate(), 0);
    }
}

TEST_F(PlayingMovie, RefusesNegativeRatesAndWhatIsNoNumber) {
    const auto movie = this->movie();
    for (const float rate : {-1.0f, -0.001f, std::numeric_limits<float>::quiet_NaN(),
                             std::numeric_limits<float>::infinity()}) {
        EXPECT_EQ(movie->setRate(rate), paramErr);
        EXPECT_EQ(movie->rate(), 0);
    }
    movie->play();
    EXPECT_EQ(movie->setRate(-1), paramErr);
    EXPECT_EQ(movie->rate(), 1);
}

TEST_F(PlayingMovie, TellsAChangeOfTheRateOnlyWhenThereIsOne) {
    const auto movie = this->movie();
    movie->stop();
    movie->play();
    movie->play();
    movie->setRate(2);
    movie->stop();
    movie->stop();
    EXPECT_EQ(heard_.size(), 3u);
}

TEST_F(PlayingMovie, BeginsAnewAtTheEnd) {
    const auto movie = this->movie();
    movie->setCurrentTime(movie->duration());
    movie->play();
    clock_->advance(0.5);
    EXPECT_EQ(seconds(movie->currentTime()), 0.5);
}

TEST_F(PlayingMovie, PlaysItsSelectionOnly) {
    const auto movie = this->movie();
    movie->setAttribute(QTMakeTimeRange(QTMakeTime(1, 2), QTMakeTime(1, 1)),
                        QTMovieSelectionAttribute);
    EXPECT_EQ(seconds(movie->currentTime()), 0.0);
    movie->setAttribute(true, QTMoviePlaysSelectionOnlyAttribute);
    EXPECT_EQ(seconds(movie->currentTime()), 0.5);
    movie->play();
    clock_->advance(2);
    EXPECT_EQ(seconds(movie->currentTime()), 1.5);
    EXPECT_EQ(movie->rate(), 0);
    movie->setAttribute(false, QTMoviePlaysSelectionOnlyAttribute);
    movie->play();
    clock_->advance(2);
    EXPECT_EQ(movie->currentTime(), movie->duration());
}

TEST_F(PlayingMovie, LimitsItsSelectionToItsExtent) {
    const auto movie = this->movie();
    movie->setAttribute(QTMakeTimeRange(QTMakeTime(-5, 1), QTMakeTime(100, 1)),
                        QTMovieSelectionAttribute);
    movie->setAttribute(true, QTMoviePlaysSelectionOnlyAttribute);
    movie->play();
    clock_->advance(5);
    EXPECT_EQ(movie->currentTime(), movie->duration());
}

TEST_F(PlayingMovie, ChangesItsRangeWhilePlaying) {
    const auto movie = this->movie();
    movie->setAttribute(true, QTMoviePlaysSelectionOnlyAttribute);
    const auto select = [&](double from, double to) {
        movie->setAttribute(QTMakeTimeRange(QTMakeTimeWithTimeInterval(from),
                                            QTMakeTimeWithTimeInterval(to - from)),
                            QTMovieSelectionAttribute);
    };
    movie->play();
    clock_->advance(0.5);
    select(1.0, 1.75);  // the in point is ahead
    EXPECT_EQ(seconds(movie->currentTime()), 1.0);
    clock_->advance(0.25);
    EXPECT_EQ(seconds(movie->currentTime()), 1.25);
    select(0.5, 1.0);  // the out point is behind
    clock_->advance(0.01);
    EXPECT_EQ(movie->rate(), 0);
    EXPECT_EQ(seconds(movie->currentTime()), 1.0);
    movie->setAttribute(true, QTMovieLoopsAttribute);
    movie->play();
    clock_->advance(0.25);
    EXPECT_EQ(seconds(movie->currentTime()), 0.75);
    select(0.25, 0.5);  // behind too, but it loops
    EXPECT_EQ(seconds(movie->currentTime()), 0.25);
    clock_->advance(1000.125);
    EXPECT_EQ(seconds(movie->currentTime()), 0.375);
}

TEST_F(PlayingMovie, EndsWhenItsTimeIsSetToTheEnd) {
    const auto movie = this->movie();
    movie->play();
    clock_->advance(0.5);
    movie->setCurrentTime(QTIndefiniteTime);
    EXPECT_EQ(movie->currentTime(), movie->duration());
    EXPECT_EQ(movie->rate(), 1);
    clock_->advance(0.001);
    EXPECT_EQ(movie->rate(), 0);
}

TEST_F(PlayingMovie, TellsAnotherTimeAndAnotherVolume) {
    const auto movie = this->movie();
    movie->setCurrentTime(QTMakeTime(1, 1));
    movie->setVolume(0.5f);
    movie->setVolume(0.5f);
    EXPECT_THAT(heard_, ElementsAre("QTMovieTimeDidChangeNotification at 1000",
                                    "QTMovieVolumeDidChangeNotification at 1000"));
}

TEST_F(PlayingMovie, KeepsItsVolumeWithin0And1AndBeginsWithThePreferredOne) {
    const auto movie = this->movie();
    EXPECT_EQ(movie->volume(), 1.0f);
    SetMoviePreferredVolume(movie->quickTimeMovie(), 0x80);
    EXPECT_EQ(movie->volume(), 0.5f);
    movie->setVolume(7);
    EXPECT_EQ(movie->volume(), 1.0f);
    movie->setVolume(-7);
    EXPECT_EQ(movie->volume(), 0.0f);
    movie->setVolume(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(movie->volume(), 0.0f);
}

TEST_F(PlayingMovie, MayBeEditedWhileItStands) {
    const auto movie = this->movie();
    movie->play();
    clock_->advance(0.5);
    movie->stop();
    DisposeMovieTrack(GetMovieIndTrack(movie->quickTimeMovie(), 2));
    test::addSoundTrack(movie->quickTimeMovie(), 44100, 3 * 44100);
    movie->play();
    clock_->advance(2);
    EXPECT_NEAR(seconds(movie->currentTime()), 2.5, 0.001);
}

TEST_F(PlayingMovie, GoesWhilePlaying) {
    auto movie = this->movie();
    movie->play();
    clock_->advance(0.5);
    heard_.clear();
    movie.reset();
    clock_->advance(5);
    EXPECT_THAT(heard_, IsEmpty());
    EXPECT_EQ(loop_->secondsUntilNextPerform(), NSRunLoop::forever);
}

TEST_F(PlayingMovie, WritesWhatADeviceWouldGetIntoAFile) {
    const test::TemporaryDirectory folder;
    const std::string output = folder.file("output.wav");
    const auto movie = this->movie();
    movie->setAttribute(NSString(output), QTMovieSoundFileAttribute);
    movie->play();
    clock_->advance(3);
    EXPECT_EQ(movie->attributeForKey(QTMovieSoundOutputStatusAttribute).intValue(), 0);
    const test::Wave wave = test::readFloatWave(output);
    EXPECT_EQ(wave.sampleRate, 8000);
    EXPECT_EQ(wave.frames(), 16000u);
}

TEST_F(PlayingMovie, RunsOnInSilenceWhenItsFileCannotBeWritten) {
    const auto movie = this->movie();
    movie->setAttribute("/no/such/folder/output.wav", QTMovieSoundFileAttribute);
    movie->play();
    clock_->advance(1);
    EXPECT_NEAR(seconds(movie->currentTime()), 1.0, 0.001);
    EXPECT_NE(movie->attributeForKey(QTMovieSoundOutputStatusAttribute).intValue(), 0);
}

TEST_F(PlayingMovie, LoadsInTurnsOfTheRunLoop) {
    const test::TemporaryDirectory folder;
    const std::string path = folder.file("a.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "sine=d=2:r=8000", "-c:a", "pcm_s16be", path});
    const auto movie = QTMovie::initWithAttributes(
        {{QTMovieFileNameAttribute, NSString(path)}, {QTMovieOpenAsyncOKAttribute, true}}, nullptr);
    ASSERT_NE(movie, nullptr);
    listenTo(movie);
    EXPECT_EQ(movie->attributeForKey(QTMovieLoadStateAttribute).intValue(), 1000);
    EXPECT_EQ(movie->duration().timeValue, 0);
    std::vector<std::int32_t> states;
    for (int i = 0; i < 8; ++i) {
        loop_->runOnce();
        states.push_back(movie->attributeForKey(QTMovieLoadStateAttribute).intValue());
    }
    EXPECT_THAT(states, ElementsAre(2000, 10000, 20000, 100000, 100000, 100000, 100000, 100000));
    EXPECT_EQ(heard_.size(), 4u);
    EXPECT_EQ(seconds(movie->duration()), 2.0);
}

TEST_F(PlayingMovie, IsOpenedAtOnceWithoutTheAttribute) {
    const test::TemporaryDirectory folder;
    const std::string path = folder.file("a.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "sine=d=2:r=8000", "-c:a", "pcm_s16be", path});
    const auto movie = QTMovie::initWithAttributes(
        {{QTMovieFileNameAttribute, NSString(path)}, {QTMovieOpenAsyncOKAttribute, false}},
        nullptr);
    EXPECT_EQ(movie->attributeForKey(QTMovieLoadStateAttribute).intValue(), 100000);
}

}  // namespace
}  // namespace TWQuickTime
