#include "TWUQuickTimeMovie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "LogCapture.h"
#include "MovieStorage.h"
#include "QTMovie.h"
#include "QTTrack.h"
#include "RunProgram.h"
#include "StDataRef.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "ToolboxTrace.h"
#include "UQuickTimeAudio.h"
#include "UserData.h"

namespace TWQuickTime {
namespace {

using TWU = TWUQuickTimeMovie;
using test::LogCapture;
using test::ScopedHandle;
using test::ScopedMovie;
using testing::ElementsAre;
using testing::IsEmpty;

class MovieHelpers : public testing::Test {
  protected:
    ~MovieHelpers() override { ToolboxTrace::reset(); }

    /// A movie file by ffmpeg, one second of pictures.
    std::string makeFile(const std::string& name, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments = {
            "-f", "lavfi", "-i", "testsrc=duration=1:size=64x48:rate=25", "-c:v", "mjpeg"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        arguments.push_back(directory_.file(name));
        test::runFfmpeg(arguments);
        return directory_.file(name);
    }

    ScopedMovie movie_;
    test::TemporaryDirectory directory_;
};

TEST_F(MovieHelpers, ForwardTheTrackFunctions) {
    Track track = nullptr;
    Media media = nullptr;
    ASSERT_EQ(TWU::createNewAudioTrackInMovie(movie_, 44100, &track, &media), noErr);
    ASSERT_EQ(TWU::createNewTrackInMovie(movie_, VideoMediaType, 64, 48, 3, 25, nullptr, nullptr),
              noErr);
    EXPECT_EQ(TWU::getTrackCount(movie_), 2);
    EXPECT_EQ(TWU::getFirstTrackOfMovie(movie_, SoundMediaType), track);
    EXPECT_EQ(TWU::getFirstTrackOfMovie(movie_, TweenMediaType), nullptr);
    EXPECT_EQ(TWU::getTrackCount(nullptr), 0);
}

TEST_F(MovieHelpers, RemoveEveryTrackOfATypeAlsoTheOneThatMovedUp) {
    test::addVideoTrack(movie_, 25, 25);
    test::addSoundTrack(movie_, 8000, 8);
    test::addSoundTrack(movie_, 8000, 8);
    test::addVideoTrack(movie_, 25, 25);
    EXPECT_TRUE(TWU::disposeTracksOfMovie(movie_, SoundMediaType));
    EXPECT_EQ(GetMovieTrackCount(movie_), 2);
    EXPECT_EQ(TWU::getFirstTrackOfMovie(movie_, SoundMediaType), nullptr);
    EXPECT_FALSE(TWU::disposeTracksOfMovie(movie_, SoundMediaType));
    EXPECT_FALSE(TWU::disposeTracksOfMovie(nullptr, SoundMediaType));
}

TEST_F(MovieHelpers, RemoveDisabledTracks) {
    const Track kept = test::addVideoTrack(movie_, 25, 25);
    for (int i = 0; i < 2; ++i)
        SetTrackEnabled(test::addSoundTrack(movie_, 8000, 8), false);
    EXPECT_TRUE(TWU::disposeDisabledTracksOfMovie(movie_));
    EXPECT_EQ(GetMovieTrackCount(movie_), 1);
    EXPECT_EQ(GetMovieIndTrack(movie_, 1), kept);
    EXPECT_FALSE(TWU::disposeDisabledTracksOfMovie(movie_));
    EXPECT_FALSE(TWU::disposeDisabledTracksOfMovie(nullptr));
}

TEST_F(MovieHelpers, ReadTheLoopMode) {
    EXPECT_EQ(TWU::getLoopModeOfMovie(nullptr), 0);
    EXPECT_EQ(TWU::getLoopModeOfMovie(movie_), 0);
    const UserData list = GetMovieUserData(movie_);
    const auto setLoop = [&](const std::vector<std::uint8_t>& bytes) {
        RemoveUserData(list, fourCC("LOOP"), 1);
        const ScopedHandle handle(bytes);
        AddUserData(list, handle, fourCC("LOOP"));
    };
    setLoop({0, 0, 0, 0});
    EXPECT_EQ(TWU::getLoopModeOfMovie(movie_), 1);
    setLoop({0, 0, 0, 1});
    EXPECT_EQ(TWU::getLoopModeOfMovie(movie_), 2);
    setLoop({});
    EXPECT_EQ(TWU::getLoopModeOfMovie(movie_), 1);
    setLoop({0, 0, 0, 2});
    EXPECT_EQ(TWU::getLoopModeOfMovie(movie_), 1);
    setLoop({1});
    EXPECT_EQ(TWU::getLoopModeOfMovie(movie_), 1);
}

TEST_F(MovieHelpers, StepFrameByFrame) {
    test::addVideoTrack(movie_, 25, 3);
    TWU::gotoNextFrame(movie_);
    EXPECT_EQ(GetMovieTime(movie_, nullptr), 24);
    TWU::gotoNextFrame(movie_);
    EXPECT_EQ(GetMovieTime(movie_, nullptr), 48);
    TWU::gotoNextFrame(movie_);
    EXPECT_EQ(GetMovieTime(movie_, nullptr), 48);
    TWU::gotoPreviousFrame(movie_);
    EXPECT_EQ(GetMovieTime(movie_, nullptr), 24);
    TWU::gotoPreviousFrame(movie_);
    TWU::gotoPreviousFrame(movie_);
    EXPECT_EQ(GetMovieTime(movie_, nullptr), 0);
    TWU::gotoNextFrame(nullptr);
    TWU::gotoPreviousFrame(nullptr);
}

TEST_F(MovieHelpers, CloneAMovieWithItsMedia) {
    test::addVideoTrack(movie_, 25, 25);
    const ScopedMovie clone(TWU::createCloneOfMovie(movie_));
    ASSERT_NE(static_cast<Movie>(clone), nullptr);
    EXPECT_NE(static_cast<Movie>(clone), static_cast<Movie>(movie_));
    EXPECT_EQ(GetMovieDuration(clone), 600);
    SetTrackEnabled(GetMovieIndTrack(clone, 1), false);
    EXPECT_TRUE(GetTrackEnabled(GetMovieIndTrack(movie_, 1)));
    EXPECT_EQ(TWU::createCloneOfMovie(nullptr), nullptr);
}

TEST_F(MovieHelpers, DisposeOfTheHandleWhenCloningFails) {
    for (const char* call : {"PutMovieIntoHandle", "NewMovieFromHandle"}) {
        ToolboxTrace::failCall(call, 1, -108);
        ToolboxTrace::startRecording();
        EXPECT_EQ(TWU::createCloneOfMovie(movie_), nullptr) << call;
        EXPECT_EQ(ToolboxTrace::recordedCalls().back(), "DisposeHandle") << call;
        ToolboxTrace::reset();
    }
}

TEST_F(MovieHelpers, OpenAMovieByPathAndGiveTheNumberOfAClosedFileOnPurpose) {
    const std::string path = makeFile("a.mov");
    FSSpec spec;
    std::int16_t number = 0;
    OSErr status = 77;
    const ScopedMovie movie(
        TWU::createMovieFromPath(NSString(path), fsRdPerm, &spec, &number, &status));
    ASSERT_NE(static_cast<Movie>(movie), nullptr);
    EXPECT_EQ(GetMovieDuration(movie), GetMovieTimeScale(movie));
    EXPECT_NE(spec, FSSpec());
    EXPECT_NE(number, 0);
    EXPECT_EQ(CloseMovieFile(number), rfNumErr);
    EXPECT_EQ(status, 77);
    const ScopedMovie again(TWU::createMovieFromFSSpec(spec, fsRdPerm, nullptr, nullptr));
    EXPECT_NE(static_cast<Movie>(again), nullptr);
}

TEST_F(MovieHelpers, GiveTheStatusOfAPathThatNamesNoFile) {
    FSSpec spec;
    spec.vRefNum = 77;
    std::int16_t number = 77;
    OSErr status = 0;
    EXPECT_EQ(TWU::createMovieFromPath("/no/such/file.mov", fsRdPerm, &spec, &number, &status),
              nullptr);
    EXPECT_EQ(status, fnfErr);
    EXPECT_EQ(spec.vRefNum, 77);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(TWU::createMovieFromPath(nullptr, fsRdPerm, nullptr, nullptr, nullptr), nullptr);
}

TEST_F(MovieHelpers, GiveTheStatusOfAFileThatIsNoMovie) {
    const std::string path = directory_.file("text.mov");
    std::ofstream(path) << "just a text, not a movie";
    OSErr status = 0;
    std::int16_t number = 77;
    EXPECT_EQ(TWU::createMovieFromPath(NSString(path), fsRdPerm, nullptr, &number, &status),
              nullptr);
    EXPECT_EQ(status, noMovieFound);
    EXPECT_EQ(number, 77);
}

TEST_F(MovieHelpers, CloseTheFileAlsoWhenItHoldsNoMovie) {
    const std::string path = makeFile("a.mov");
    ToolboxTrace::failCall("NewMovieFromFile", 1, -2048);
    ToolboxTrace::startRecording();
    EXPECT_EQ(TWU::createMovieFromPath(NSString(path), fsRdPerm, nullptr, nullptr, nullptr),
              nullptr);
    const auto calls = ToolboxTrace::recordedCalls();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_THAT(std::vector(calls.end() - 3, calls.end()),
                ElementsAre("OpenMovieFile", "NewMovieFromFile", "CloseMovieFile"));
}

TEST_F(MovieHelpers, RecogniseMovieFilesByTheirContents) {
    EXPECT_TRUE(TWU::isMovieFile(NSString(makeFile("a.mov"))));
    EXPECT_TRUE(TWU::isMovieFile(NSString(makeFile("b.txt", {"-f", "mov"}))));
    EXPECT_TRUE(TWU::isMovieFile(NSString(makeFile("c.avi"))));
    EXPECT_TRUE(TWU::isMovieFile(NSString(makeFile("d.mkv"))));
    test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=duration=1:size=64x48:rate=25", "-c:v",
                     "mpeg2video", "-f", "mpegts", directory_.file("e")});
    EXPECT_TRUE(TWU::isMovieFile(NSString(directory_.file("e"))));
    test::runFfmpeg({"-f", "lavfi", "-i", "sine=duration=1", directory_.file("f.wav")});
    EXPECT_FALSE(TWU::isMovieFile(NSString(directory_.file("f.wav"))));
    std::ofstream(directory_.file("g.mov")) << "just a text";
    EXPECT_FALSE(TWU::isMovieFile(NSString(directory_.file("g.mov"))));
    EXPECT_FALSE(TWU::isMovieFile(NSString(directory_.path().string())));
    EXPECT_FALSE(TWU::isMovieFile("/no/such/file"));
    EXPECT_FALSE(TWU::isMovieFile(nullptr));
}

TEST_F(MovieHelpers, AnswerNoWhereThePlatformKnowsNoType) {
    const std::string path = makeFile("a.mov");
    ToolboxTrace::failCall("LSCopyItemAttributes", 1, -50);
    EXPECT_FALSE(TWU::isMovieFile(NSString(path)));
}

TEST_F(MovieHelpers, OpenAMovieObjectInAnApertureMode) {
    const std::string path = makeFile("a.mov", {"-vf", "setsar=16/15"});
    const auto movie = TWU::movieWithPath(NSString(path), QTMovieApertureModeClean);
    ASSERT_NE(movie, nullptr);
    EXPECT_TRUE(movie->attributeForKey(QTMovieHasApertureModeDimensionsAttribute).boolValue());
    EXPECT_EQ(movie->attributeForKey(QTMovieApertureModeAttribute).stringValue().utf8(),
              QTMovieApertureModeClean);
    EXPECT_EQ(TWU::movieWithPath(nullptr, QTMovieApertureModeClean), nullptr);
    EXPECT_EQ(TWU::movieWithPath("/no/such/file", QTMovieApertureModeClean), nullptr);
}

TEST_F(MovieHelpers, JudgeWhetherAMovieIsThreadSafe) {
    EXPECT_TRUE(TWU::isMovieThreadSafe(movie_));
    EXPECT_FALSE(TWU::isMovieThreadSafe(nullptr));
    EXPECT_FALSE(TWU::isTrackThreadSafe(nullptr));
    const Track video = test::addVideoTrack(movie_, 25, 25);
    EXPECT_TRUE(TWU::isTrackThreadSafe(video));
    EXPECT_TRUE(TWU::isMovieThreadSafe(movie_));
    // No image decompressor has a sound's format; the question is asked all the same.
    const Track sound = test::addSoundTrack(movie_, 8000, 8);
    EXPECT_FALSE(TWU::isTrackThreadSafe(sound));
    EXPECT_FALSE(TWU::isMovieThreadSafe(movie_));
}

TEST_F(MovieHelpers, AskAllTracksWhetherTheyAreThreadSafe) {
    test::addSoundTrack(movie_, 8000, 8);
    test::addVideoTrack(movie_, 25, 25);
    ToolboxTrace::startRecording();
    EXPECT_FALSE(TWU::isMovieThreadSafe(movie_));
    const auto calls = ToolboxTrace::recordedCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "GetMovieIndTrack"), 2);
}

TEST_F(MovieHelpers, LogNothing) {
    const LogCapture log;
    TWU::isMovieFile("/no/such/file");
    TWU::createMovieFromPath("/no/such/file.mov", fsRdPerm, nullptr, nullptr, nullptr);
    TWU::createCloneOfMovie(nullptr);
    TWU::isMovieThreadSafe(nullptr);
    EXPECT_THAT(log.lines(), IsEmpty());
}

class AudioDuration : public MovieHelpers {};

TEST_F(AudioDuration, MeasuresAMovieWithSound) {
    const std::string path = directory_.file("a.mov");
    test::runFfmpeg(
        {"-f", "lavfi", "-i", "sine=duration=1.5:sample_rate=8000", "-c:a", "pcm_s16le", path});
    double seconds = 77;
    EXPECT_EQ(UQuickTimeAudio::GetAudioDuration(NSString(path), seconds), noErr);
    EXPECT_DOUBLE_EQ(seconds, 1.5);
}

TEST_F(AudioDuration, MeasuresSoundFilesOfOtherKinds) {
    for (const char* name : {"a.wav", "a.aif", "a.flac"}) {
        test::runFfmpeg(
            {"-f", "lavfi", "-i", "sine=duration=1.5:sample_rate=8000", directory_.file(name)});
        double seconds = 77;
        EXPECT_EQ(UQuickTimeAudio::GetAudioDuration(NSString(directory_.file(name)), seconds),
                  noErr);
        EXPECT_NEAR(seconds, 1.5, 1e-3) << name;
    }
}

TEST_F(AudioDuration, MeasuresTheMixInsideAProjectPackage) {
    std::filesystem::create_directories(directory_.path() / "song.band/Output");
    test::runFfmpeg({"-f", "lavfi", "-i", "sine=duration=2:sample_rate=8000",
                     directory_.file("song.band/Output/Output.aif")});
    double seconds = 77;
    EXPECT_EQ(UQuickTimeAudio::GetAudioDuration(NSString(directory_.file("song.band")), seconds),
              noErr);
    EXPECT_DOUBLE_EQ(seconds, 2);
}

TEST_F(AudioDuration, Is0ForWhatCannotBeMeasured) {
    const std::string path = directory_.file("text.wav");
    std::ofstream(path) << "no sound";
    for (const NSString& each : {NSString(), NSString("/no/such/file.wav"), NSString(path)}) {
        double seconds = 77;
        EXPECT_EQ(UQuickTimeAudio::GetAudioDuration(each, seconds), noErr);
        EXPECT_EQ(seconds, 0);
    }
}

}  // namespace
}  // namespace TWQuickTime
