#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AtomContainers.h"
#include "LogCapture.h"
#include "NSException.h"
#include "QTMovie_AudioVolumeTweenTrack.h"
#include "QTTrack.h"
#include "RunProgram.h"
#include "StMovie.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "ToolboxTrace.h"
#include "TrackReferences.h"
#include "UQuickTimeMovie.h"

namespace TWQuickTime {
namespace {

using test::LogCapture;
using test::ScopedHandle;
using test::ScopedMovie;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kMethod =
    "-[QTMovie(AudioVolumeTweenTrack) addTweenForAudioTrack:volumeEnvelope:error:]";

/// What one sample of a tween track says.
struct Ramp {
    TimeValue duration = 0;
    std::int16_t start = 0, end = 0;
    friend bool operator==(const Ramp&, const Ramp&) = default;
};

void PrintTo(const Ramp& ramp, std::ostream* stream) {
    *stream << "{" << ramp.duration << ": " << ramp.start << " to " << ramp.end << "}";
}

std::vector<Ramp> rampsOf(Track tweenTrack) {
    const Media media = GetTrackMedia(tweenTrack);
    std::vector<Ramp> ramps;
    for (TimeValue time = 0; time < GetMediaDuration(media);) {
        const ScopedHandle data;
        Ramp ramp;
        if (GetMediaSample(media, data, 0, nullptr, time, nullptr, &ramp.duration, nullptr, nullptr,
                           0, nullptr, nullptr) != noErr)
            break;
        const QTAtom entry =
            QTFindChildByID(data, kParentAtomIsContainer, fourCC("twen"), 1, nullptr);
        const auto bytes = data.bytes();
        const QTAtom values = QTFindChildByID(data, entry, fourCC("data"), 1, nullptr);
        const std::size_t at = static_cast<std::size_t>(values) + 20;
        ramp.start = static_cast<std::int16_t>(bytes[at] << 8 | bytes[at + 1]);
        ramp.end = static_cast<std::int16_t>(bytes[at + 2] << 8 | bytes[at + 3]);
        ramps.push_back(ramp);
        time += ramp.duration;
    }
    return ramps;
}

class TrapezoidTween : public testing::Test {
  protected:
    ~TrapezoidTween() override { ToolboxTrace::reset(); }

    OSErr add(std::initializer_list<double> times, double volume) {
        return UQuickTimeMovie::CreateNewTweenTrackForAudioTrack(movie_, sound_, times.begin(),
                                                                 volume);
    }
    Track tween() { return UQuickTimeMovie::GetTweenTrackAtIndex(movie_, 1); }

    ScopedMovie movie_;
    Track sound_ = test::addSoundTrack(movie_, 44100, 10 * 44100);
};

TEST_F(TrapezoidTween, FadesInHoldsAndFadesOut) {
    const LogCapture log;
    ASSERT_EQ(add({0, 1, 3, 4}, 1.0), noErr);
    EXPECT_THAT(rampsOf(tween()),
                ElementsAre(Ramp{44100, 0, 255}, Ramp{88200, 255, 255}, Ramp{44100, 255, 0}));
    EXPECT_EQ(GetTrackOffset(tween()), 0);
    EXPECT_EQ(GetTrackDuration(tween()), 4 * 600);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TrapezoidTween, LeavesOutStretchesWithoutTime) {
    ASSERT_EQ(add({2, 2, 5, 6}, 1.0), noErr);
    EXPECT_THAT(rampsOf(tween()), ElementsAre(Ramp{3 * 44100, 255, 255}, Ramp{44100, 255, 0}));
    EXPECT_EQ(GetTrackOffset(tween()), 2 * 600);
}

TEST_F(TrapezoidTween, RefusesTimesThatGoBack) {
    const LogCapture log;
    EXPECT_EQ(add({1, 0.5, 2, 3}, 1.0), -50);
    EXPECT_EQ(add({0, 2, 1, 3}, 1.0), -50);
    EXPECT_EQ(add({0, 1, 3, 2}, 1.0), -50);
    EXPECT_EQ(GetMovieTrackCount(movie_), 1);
    const char* line =
        "CreateNewTweenTrackForAudioTrack: Error - inTime[] array is not monotonous...";
    EXPECT_THAT(log.lines(), ElementsAre(line, line, line));
}

TEST_F(TrapezoidTween, RefusesNullObjects) {
    const LogCapture log;
    const double times[] = {0, 1, 2, 3};
    EXPECT_EQ(UQuickTimeMovie::CreateNewTweenTrackForAudioTrack(nullptr, sound_, times, 1), -50);
    EXPECT_EQ(UQuickTimeMovie::CreateNewTweenTrackForAudioTrack(movie_, nullptr, times, 1), -50);
    EXPECT_THAT(log.lines(),
                ElementsAre("CreateNewTweenTrackForAudioTrack: Error - inMovie is NULL...",
                            "CreateNewTweenTrackForAudioTrack: Error - inAudioTrack is NULL..."));
}

TEST_F(TrapezoidTween, BringsTheVolumeToTheNearestWholeNumber) {
    ASSERT_EQ(add({0, 1, 1, 1}, 0.5), noErr);
    EXPECT_THAT(rampsOf(tween()), ElementsAre(Ramp{44100, 0, 128}));
}

TEST_F(TrapezoidTween, KeepsTheLow16BitsOfAnyVolume) {
    ASSERT_EQ(add({0, 1, 1, 1}, 65537.0 / 255.0), noErr);
    EXPECT_THAT(rampsOf(tween()), ElementsAre(Ramp{44100, 0, 1}));
}

TEST_F(TrapezoidTween, IsTheVolumeModifierOfTheSound) {
    ASSERT_EQ(add({0, 1, 3, 4}, 1.0), noErr);
    EXPECT_EQ(GetTrackReference(sound_, fourCC("ssrc"), 1), tween());
    QTAtomContainer map = nullptr;
    ASSERT_EQ(GetMediaInputMap(GetTrackMedia(sound_), &map), noErr);
    const ScopedHandle expected(
        {0, 0,  0,   0,   0,   0,   0,   0,   0, 0, 0, 0,  // container
         0, 0,  0,   88,  's', 'e', 'a', 'n', 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0,
         0, 68, 0,   0,   'i', 'n', 0,   0,   0, 1, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 24,
         0, 0,  't', 'y', 0,   0,   0,   1,   0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0,
         0, 24, 's', 'u', 'b', 'i', 0,   0,   0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(*map);
    EXPECT_EQ((std::vector<std::uint8_t>{bytes, bytes + GetHandleSize(map)}), expected.bytes());
    QTDisposeAtomContainer(map);
}

TEST_F(TrapezoidTween, MakesSamplesOf100BytesWithAPlainDescription) {
    ASSERT_EQ(add({0, 1, 3, 4}, 1.0), noErr);
    const ScopedHandle data, description;
    ASSERT_EQ(GetMediaSample(GetTrackMedia(tween()), data, 0, nullptr, 0, nullptr, nullptr,
                             description, nullptr, 0, nullptr, nullptr),
              noErr);
    EXPECT_EQ(data.bytes().size(), 100u);
    EXPECT_EQ(description.bytes(),
              (std::vector<std::uint8_t>{0, 0, 0, 16, 't', 'w', 'e', 'n', 0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(GetMediaSampleDescriptionCount(GetTrackMedia(tween())), 1);
}

TEST_F(TrapezoidTween, EndsWithTheFirstFailureAndKeepsTheTrack) {
    for (const char* call :
         {"QTNewAtomContainer", "QTInsertChild", "BeginMediaEdits", "AddMediaSample",
          "EndMediaEdits", "GetMovieTimeScale", "GetMediaDuration", "InsertMediaIntoTrack",
          "AddTrackReference", "SetMediaInputMap"}) {
        const std::int32_t before = GetMovieTrackCount(movie_);
        const LogCapture log;
        ToolboxTrace::failCall(call, 1, -108);
        EXPECT_EQ(add({0, 1, 3, 4}, 1.0), -108) << call;
        EXPECT_THAT(log.lines(), ElementsAre(StartsWith(std::string(call) + " failed: -108 (")));
        EXPECT_EQ(GetMovieTrackCount(movie_), before + 1) << call;
        ToolboxTrace::reset();
    }
}

TEST_F(TrapezoidTween, ReportsAFailureToMakeTheTrackUnderBothNames) {
    const LogCapture log;
    ToolboxTrace::failCall("NewMovieTrack", 1, -108);
    EXPECT_EQ(add({0, 1, 3, 4}, 1.0), -108);
    EXPECT_THAT(log.lines(), ElementsAre(StartsWith("NewMovieTrack failed: -108"),
                                         StartsWith("CreateNewTrack failed: -108")));
}

TEST_F(TrapezoidTween, ComesBackFromTheFileAndLeavesTheSoundAlone) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("a.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "sine=duration=4", "-c:a", "pcm_s16le", path});
    const auto sound = [&] {
        return test::runProgram(
            {"ffmpeg", "-v", "warning", "-i", path, "-map", "0:a", "-f", "md5", "-"});
    };
    const auto before = sound();
    {
        StMovie movie{NSString(path)};
        const double times[] = {0, 1, 3, 4};
        ASSERT_EQ(movie.CreateNewTweenTrackForAudioTrack(movie.GetAudioTrackAtIndex(1), times, 1.0),
                  noErr);
        ASSERT_EQ(movie.UpdateMovieFile(), noErr);
    }
    EXPECT_EQ(sound().output, before.output);
    EXPECT_EQ(sound().errors, "");
    const StMovie movie{NSString(path)};
    const Track tween = movie.GetTweenTrackAtIndex(1);
    EXPECT_THAT(rampsOf(tween),
                ElementsAre(Ramp{44100, 0, 255}, Ramp{88200, 255, 255}, Ramp{44100, 255, 0}));
    EXPECT_EQ(GetTrackReference(movie.GetAudioTrackAtIndex(1), fourCC("ssrc"), 1), tween);
}

class EnvelopeTween : public testing::Test {
  protected:
    EnvelopeTween() {
        const Movie movie = NewMovie(newMovieActive);
        test::addSoundTrack(movie, 44100, 10 * 44100);
        movie_ = QTMovie::movieWithQuickTimeMovie(movie, true, nullptr);
        sound_ = movie_->tracksOfMediaType(SoundMediaType).front();
    }
    ~EnvelopeTween() override { ToolboxTrace::reset(); }

    bool add(const std::vector<std::pair<double, double>>& points) {
        NSArray envelope = NSArray::array();
        for (const auto& [time, volume] : points)
            envelope.addObject(NSDictionary{{QTAudioVolumeTweenEnvelopeTimeKey, time},
                                            {QTAudioVolumeTweenEnvelopeVolumeKey, volume}});
        return QTMovie_AudioVolumeTweenTrack::addTweenForAudioTrack(movie_, sound_, envelope,
                                                                    &error_);
    }
    Track tween() { return UQuickTimeMovie::GetTweenTrackAtIndex(movie_->quickTimeMovie(), 1); }

    std::shared_ptr<QTMovie> movie_;
    std::shared_ptr<QTTrack> sound_;
    NSError error_;
};

TEST_F(EnvelopeTween, PassesOverPairsWithoutTimeBetweenThem) {
    ASSERT_TRUE(add({{0, 0.0}, {1, 1.0}, {1, 0.5}, {2, 0.0}}));
    EXPECT_TRUE(error_.isNil());
    EXPECT_THAT(rampsOf(tween()), ElementsAre(Ramp{44100, 0, 255}, Ramp{44100, 128, 0}));
}

TEST_F(EnvelopeTween, MakesAnEmptyTrackOfOnePoint) {
    ASSERT_TRUE(add({{1.5, 0.5}}));
    ASSERT_NE(tween(), nullptr);
    EXPECT_THAT(rampsOf(tween()), IsEmpty());
    EXPECT_EQ(GetMediaDuration(GetTrackMedia(tween())), 0);
    EXPECT_EQ(GetTrackOffset(tween()), 900);
}

TEST_F(EnvelopeTween, RefusesTimesThatGoBack) {
    const LogCapture log;
    EXPECT_FALSE(add({{0, 0}, {2, 1}, {1, 0}}));
    const std::string text =
        std::string(kMethod) + ": Error - time values in VolumeEnvelope are not monotonous...";
    EXPECT_THAT(log.lines(), ElementsAre(text));
    EXPECT_EQ(error_.domain().utf8(), "NSOSStatusErrorDomain");
    EXPECT_EQ(error_.code(), -50);
    EXPECT_EQ(error_.userInfo().count(), 1u);
    EXPECT_EQ(error_.localizedDescription().utf8(), text);
    EXPECT_EQ(tween(), nullptr);
}

TEST_F(EnvelopeTween, RefusesNoTrack) {
    const LogCapture log;
    sound_ = nullptr;
    EXPECT_FALSE(add({{0, 0}, {1, 1}}));
    const std::string text = std::string(kMethod) + ": Error - inAudioTrack is NULL...";
    EXPECT_THAT(log.lines(), ElementsAre(text));
    EXPECT_EQ(error_.code(), -50);
    EXPECT_EQ(error_.localizedDescription().utf8(), text);
}

TEST_F(EnvelopeTween, RaisesForAnEnvelopeWithoutPoints) {
    EXPECT_THROW(add({}), NSException);
    EXPECT_EQ(tween(), nullptr);
}

TEST_F(EnvelopeTween, ClearsAnErrorOfBefore) {
    error_ = NSError::errorWithDomain("domain", 5);
    EXPECT_TRUE(add({{0, 0}, {1, 1}}));
    EXPECT_TRUE(error_.isNil());
}

TEST_F(EnvelopeTween, NeedsNoPlaceForItsError) {
    EXPECT_FALSE(
        QTMovie_AudioVolumeTweenTrack::addTweenForAudioTrack(movie_, nullptr, NSArray(), nullptr));
}

TEST_F(EnvelopeTween, HandsOutTheStatusOfTheFirstFailure) {
    for (const char* call :
         {"BeginMediaEdits", "QTNewAtomContainer", "AddMediaSample", "EndMediaEdits",
          "InsertMediaIntoTrack", "AddTrackReference", "SetMediaInputMap"}) {
        const LogCapture log;
        ToolboxTrace::failCall(call, 1, -108);
        EXPECT_FALSE(add({{0, 0}, {1, 1}})) << call;
        EXPECT_EQ(error_.code(), -108) << call;
        EXPECT_EQ(error_.localizedDescription().utf8(),
                  std::string(kMethod) + ": Internal QuickTime error occured: -108");
        EXPECT_THAT(log.lines(), ElementsAre(StartsWith(std::string(call) + " failed: -108 (")));
        ToolboxTrace::reset();
    }
}

TEST_F(EnvelopeTween, PlacesTheTrackAtItsFirstPoint) {
    ASSERT_TRUE(add({{0.9999, 0}, {2, 1}}));
    EXPECT_EQ(GetTrackOffset(tween()), 600);
}

struct Rounding {
    double volume;
    std::int16_t trapezoid;  ///< to the nearest, halves away from zero
    std::int16_t envelope;   ///< a half is added, then the fraction is cut off
};

class TweenRounding : public testing::TestWithParam<Rounding> {};

TEST_P(TweenRounding, DiffersBetweenTheBuildersBelowZero) {
    const ScopedMovie movie;
    const Track sound = test::addSoundTrack(movie, 1000, 4000);
    const double times[] = {0, 1, 1, 1};
    ASSERT_EQ(
        UQuickTimeMovie::CreateNewTweenTrackForAudioTrack(movie, sound, times, GetParam().volume),
        noErr);
    EXPECT_EQ(rampsOf(GetMovieIndTrack(movie, 2)).front().end, GetParam().trapezoid);
    const auto object = QTMovie::movieWithQuickTimeMovie(movie, false, nullptr);
    NSArray envelope = NSArray::array();
    for (const double time : {0.0, 1.0})
        envelope.addObject(NSDictionary{{QTAudioVolumeTweenEnvelopeTimeKey, time},
                                        {QTAudioVolumeTweenEnvelopeVolumeKey, GetParam().volume}});
    ASSERT_TRUE(QTMovie_AudioVolumeTweenTrack::addTweenForAudioTrack(
        object, QTTrack::trackWithQuickTimeTrack(object, sound), envelope, nullptr));
    EXPECT_EQ(rampsOf(GetMovieIndTrack(movie, 3)).front().end, GetParam().envelope);
}

INSTANTIATE_TEST_SUITE_P(Volumes, TweenRounding,
                         testing::Values(Rounding{1.0, 255, 255}, Rounding{0.5, 128, 128},
                                         Rounding{0.499, 127, 127}, Rounding{-0.5, -128, -127},
                                         Rounding{-1.0, -255, -254}, Rounding{2.0, 510, 510},
                                         Rounding{128.5, 32768 - 65536, 32768 - 65536}));

}  // namespace
}  // namespace TWQuickTime
