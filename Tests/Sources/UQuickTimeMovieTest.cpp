#include "UQuickTimeMovie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DataReferences.h"
#include "LogCapture.h"
#include "MovieStorage.h"
#include "RunProgram.h"
#include "StMovieProgress.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using test::LogCapture;
using test::ScopedMovie;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class UQuickTimeMovieTest : public testing::Test {
  protected:
    ~UQuickTimeMovieTest() override { ToolboxTrace::reset(); }
};

TEST_F(UQuickTimeMovieTest, CountsAndFindsTheTracksOfAType) {
    const ScopedMovie movie;
    test::addVideoTrack(movie, 25, 25);
    test::addSoundTrack(movie, 8000, 8000);
    const Track third = test::addSoundTrack(movie, 8000, 8000);
    EXPECT_EQ(UQuickTimeMovie::GetTrackCount(movie), 3);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackCount(movie), 2);
    EXPECT_EQ(UQuickTimeMovie::GetVideoTrackCount(movie), 1);
    EXPECT_EQ(UQuickTimeMovie::GetTweenTrackCount(movie), 0);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackAtIndex(movie, 2), third);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackAtIndex(movie, 3), nullptr);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackAtIndex(movie, 0), nullptr);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackAtIndex(movie, -1), nullptr);
}

TEST_F(UQuickTimeMovieTest, IgnoresTheIndexOfVideoAndTweenTracksOnPurpose) {
    const ScopedMovie movie;
    test::addSoundTrack(movie, 8000, 8000);
    const Track video = test::addVideoTrack(movie, 25, 25);
    Track tween = nullptr;
    ASSERT_EQ(UQuickTimeMovie::CreateNewTrack(movie, TweenMediaType, 0, 0, 0, 600, &tween, nullptr),
              noErr);
    EXPECT_EQ(UQuickTimeMovie::GetVideoTrackAtIndex(movie, 5), video);
    EXPECT_EQ(UQuickTimeMovie::GetVideoTrackAtIndex(movie, -5), video);
    EXPECT_EQ(UQuickTimeMovie::GetTweenTrackAtIndex(movie, 0), tween);
}

TEST_F(UQuickTimeMovieTest, JudgesATrackWithoutMediaByTheOneBeforeItOnPurpose) {
    const ScopedMovie movie;
    const Track bare = NewMovieTrack(movie, 0, 0, 0);
    EXPECT_EQ(UQuickTimeMovie::GetTrackCountForMediaType(movie, SoundMediaType), 0);
    test::addSoundTrack(movie, 8000, 8000);
    const Track behind = NewMovieTrack(movie, 0, 0, 0);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackCount(movie), 2);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackAtIndex(movie, 2), behind);
    EXPECT_EQ(UQuickTimeMovie::GetTrackForMediaTypeAtIndex(movie, 0, 1), bare);
}

TEST_F(UQuickTimeMovieTest, CountsNothingInANullMovie) {
    const LogCapture log;
    EXPECT_EQ(UQuickTimeMovie::GetTrackCount(nullptr), 0);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackCount(nullptr), 0);
    EXPECT_EQ(UQuickTimeMovie::GetAudioTrackAtIndex(nullptr, 1), nullptr);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UQuickTimeMovieTest, CountsUpToTheFirstTrackThatCannotBeTold) {
    const ScopedMovie movie;
    for (int i = 0; i < 3; ++i)
        test::addSoundTrack(movie, 8000, 8);
    for (const char* call : {"GetMovieIndTrack", "GetTrackMedia", "GetMediaHandlerDescription"}) {
        const LogCapture log;
        ToolboxTrace::failCall(call, 3, -2009);
        EXPECT_EQ(UQuickTimeMovie::GetAudioTrackCount(movie), 2);
        ToolboxTrace::failCall(call, 3, -2009);
        EXPECT_EQ(UQuickTimeMovie::GetAudioTrackAtIndex(movie, 3), nullptr);
        const std::string line = std::string(call) + " failed: -2009 (Sources/UQuickTimeMovie:";
        EXPECT_THAT(log.lines(), ElementsAre(StartsWith(line), StartsWith(line)));
    }
}

TEST_F(UQuickTimeMovieTest, MakesATrackWithItsMedia) {
    const ScopedMovie movie;
    Track track = nullptr;
    Media media = nullptr;
    ASSERT_EQ(UQuickTimeMovie::CreateNewVideoTrack(movie, 640, 480, -2, 25, &track, &media), noErr);
    Fixed width = 0, height = 0;
    GetTrackDimensions(track, &width, &height);
    EXPECT_EQ(width, 640 << 16);
    EXPECT_EQ(height, 480 << 16);
    EXPECT_EQ(GetTrackVolume(track), 256);
    EXPECT_EQ(GetTrackLayer(track), -2);
    EXPECT_EQ(GetMediaTimeScale(media), 25);
    EXPECT_EQ(GetTrackMedia(track), media);
}

TEST_F(UQuickTimeMovieTest, LeavesTheLayerAloneForLayer0) {
    const ScopedMovie movie;
    Track track = nullptr;
    Media media = nullptr;
    ToolboxTrace::startRecording();
    ASSERT_EQ(UQuickTimeMovie::CreateNewAudioTrack(movie, 44100, &track, &media), noErr);
    EXPECT_THAT(ToolboxTrace::recordedCalls(), ElementsAre("NewMovieTrack", "NewTrackMedia"));
    Fixed width = 1, height = 1;
    GetTrackDimensions(track, &width, &height);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
}

TEST_F(UQuickTimeMovieTest, MakesNoTrackWithoutAMovieOrWithATimeScaleBelow0) {
    const ScopedMovie movie;
    const LogCapture log;
    EXPECT_EQ(
        UQuickTimeMovie::CreateNewTrack(nullptr, VideoMediaType, 1, 1, 0, 25, nullptr, nullptr),
        -50);
    EXPECT_EQ(UQuickTimeMovie::CreateNewTrack(movie, VideoMediaType, 1, 1, 0, -1, nullptr, nullptr),
              -50);
    EXPECT_EQ(GetMovieTrackCount(movie), 0);
    EXPECT_THAT(log.lines(), ElementsAre("CreateNewTrack: Error - inMovie is NULL...",
                                         "CreateNewTrack: Error - inTimeScale is -1..."));
}

TEST_F(UQuickTimeMovieTest, GoesOnWithATimeScaleOf0) {
    const ScopedMovie movie;
    EXPECT_EQ(UQuickTimeMovie::CreateNewTrack(movie, VideoMediaType, 1, 1, 0, 0, nullptr, nullptr),
              noErr);
    EXPECT_EQ(GetMovieTrackCount(movie), 1);
}

TEST_F(UQuickTimeMovieTest, KeepsTheTrackWhoseMediaCannotBeMade) {
    const ScopedMovie movie;
    const LogCapture log;
    ToolboxTrace::failCall("NewTrackMedia", 1, -108);
    Track track = nullptr;
    Media media = nullptr;
    EXPECT_EQ(UQuickTimeMovie::CreateNewAudioTrack(movie, 8000, &track, &media), -108);
    EXPECT_EQ(GetMovieTrackCount(movie), 1);
    EXPECT_EQ(GetMovieIndTrack(movie, 1), track);
    EXPECT_EQ(media, nullptr);
    EXPECT_THAT(log.lines(),
                ElementsAre(StartsWith("NewTrackMedia failed: -108 (Sources/UQuickTimeMovie:")));
}

TEST_F(UQuickTimeMovieTest, NamesTheObjectsThatWereNotMadeWithoutAStatus) {
    const ScopedMovie movie;
    const LogCapture log;
    ToolboxTrace::failCall("NewMovieTrack", 1, noErr);
    EXPECT_EQ(UQuickTimeMovie::CreateNewAudioTrack(movie, 8000, nullptr, nullptr), -2009);
    ToolboxTrace::failCall("NewTrackMedia", 1, noErr);
    EXPECT_EQ(UQuickTimeMovie::CreateNewAudioTrack(movie, 8000, nullptr, nullptr), -2008);
    EXPECT_THAT(
        log.lines(),
        ElementsAre("CreateNewTrack: Failed to create new track...",
                    "CreateNewTrack: Failed to create track media with inTimeScale=8000..."));
}

TEST_F(UQuickTimeMovieTest, MeasuresNoPathAs0Seconds) {
    const LogCapture log;
    double seconds = 77;
    EXPECT_EQ(UQuickTimeMovie::GetDuration(nullptr, seconds), noErr);
    EXPECT_EQ(seconds, 0);
    EXPECT_THAT(log.lines(), ElementsAre("GetDuration: inPath is nil..."));
}

TEST_F(UQuickTimeMovieTest, MeasuresNoFileAs0SecondsWithTheStatusOfOpening) {
    const LogCapture log;
    double seconds = 77;
    EXPECT_EQ(UQuickTimeMovie::GetDuration("/no/such/file.mov", seconds), fnfErr);
    EXPECT_EQ(seconds, 0);
    EXPECT_THAT(log.lines(),
                ElementsAre(StartsWith("NewMovieFromDataRef failed: -43 (Sources/UQuickTimeMovie:"),
                            "GetDuration: Failed to open movie at path /no/such/file.mov..."));
}

TEST_F(UQuickTimeMovieTest, ReportsAMissingMovieEvenWithoutAStatus) {
    const LogCapture log;
    ToolboxTrace::failCall("NewMovieFromDataRef", 1, noErr);
    double seconds = 77;
    EXPECT_EQ(UQuickTimeMovie::GetDuration("/no/such/file.mov", seconds), -2048);
}

TEST_F(UQuickTimeMovieTest, MeasuresAMovieFile) {
    const test::TemporaryDirectory directory;
    test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=duration=2.5:size=64x48:rate=10", "-c:v",
                     "mjpeg", directory.file("a.mov")});
    double seconds = 0;
    EXPECT_EQ(UQuickTimeMovie::GetDuration(directory.file("a.mov"), seconds), noErr);
    EXPECT_DOUBLE_EQ(seconds, 2.5);
}

class FlattenTest : public UQuickTimeMovieTest {
  protected:
    test::TemporaryDirectory directory_;
    std::string copy_ = directory_.file("copy.mov");
};

std::string framesOf(const std::string& path) {
    return test::runProgram({"ffmpeg", "-v", "error", "-i", path, "-f", "framemd5", "-"}).output;
}

TEST_F(FlattenTest, WritesAMovieFromMemoryThatOthersRead) {
    const ScopedMovie movie;
    test::addVideoTrack(movie, 25, 50);
    test::addSoundTrack(movie, 8000, 16000);
    ASSERT_EQ(UQuickTimeMovie::FlattenMovieToFile(movie, copy_, fourCC("TVOD")), noErr);
    const auto probed =
        test::runProgram({"ffprobe", "-v", "warning", "-show_entries",
                          "stream=codec_tag_string,nb_frames,duration", "-of", "csv=p=0", copy_});
    EXPECT_EQ(probed.errors, "");
    EXPECT_EQ(probed.output, "raw ,2.000000,50\ntwos,2.000000,16000\n");
}

TEST_F(FlattenTest, KeepsEveryFrameOfAnothersFile) {
    const std::string source = directory_.file("source.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=duration=2:size=64x48:rate=25", "-f", "lavfi",
                     "-i", "sine=duration=2", "-c:v", "mpeg4", "-bf", "2", "-c:a", "aac", source});
    Movie movie = nullptr;
    Handle reference = nullptr;
    OSType type = 0;
    ASSERT_EQ(QTNewDataReferenceFromFullPathCFString(source, kQTNativeDefaultPathStyle, 0,
                                                     &reference, &type),
              noErr);
    ASSERT_EQ(NewMovieFromDataRef(&movie, newMovieActive, nullptr, reference, type), noErr);
    DisposeHandle(reference);
    const ScopedMovie owner(movie);
    ASSERT_EQ(UQuickTimeMovie::FlattenMovieToFile(movie, copy_, fourCC("TVOD")), noErr);
    EXPECT_FALSE(framesOf(source).empty());
    EXPECT_EQ(framesOf(copy_), framesOf(source));
}

TEST_F(FlattenTest, FailsWithoutAPathAndWithoutAMovie) {
    const ScopedMovie movie;
    const LogCapture log;
    EXPECT_EQ(UQuickTimeMovie::FlattenMovieToFile(movie, nullptr, 0), invalidDataRef);
    EXPECT_EQ(UQuickTimeMovie::FlattenMovieToFile(nullptr, copy_, 0), invalidMovie);
    EXPECT_THAT(log.lines(), ElementsAre(StartsWith("FlattenMovieDataToDataRef failed: -2012"),
                                         StartsWith("FlattenMovieDataToDataRef failed: -2010")));
}

struct Watched {
    std::vector<std::int16_t> messages;
    std::vector<Fixed> percents;
    std::size_t stopAfter = SIZE_MAX;
};

OSErr watch(Movie, std::int16_t message, std::int16_t operation, Fixed percent, RefCon refCon) {
    auto& watched = *reinterpret_cast<Watched*>(refCon);
    EXPECT_EQ(operation, progressOpFlatten);
    watched.messages.push_back(message);
    watched.percents.push_back(percent);
    return watched.messages.size() > watched.stopAfter ? OSErr{-128} : noErr;
}

TEST_F(FlattenTest, TellsItsProgressFromOpenToClose) {
    const ScopedMovie movie;
    test::addVideoTrack(movie, 25, 250);
    Watched watched;
    const StMovieProgress progress(movie, watch, reinterpret_cast<RefCon>(&watched));
    ASSERT_EQ(UQuickTimeMovie::FlattenMovieToFile(movie, copy_, 0), noErr);
    ASSERT_GE(watched.messages.size(), 3u);
    EXPECT_EQ(watched.messages.front(), movieProgressOpen);
    EXPECT_EQ(watched.messages.back(), movieProgressClose);
    EXPECT_EQ(watched.messages[1], movieProgressUpdatePercent);
    EXPECT_TRUE(std::is_sorted(watched.percents.begin(), watched.percents.end()));
    EXPECT_EQ(watched.percents.back(), 0x10000);
}

TEST_F(FlattenTest, StopsWhenTheProgressProcedureSaysSoAndLeavesNothing) {
    const ScopedMovie movie;
    test::addVideoTrack(movie, 25, 250);
    Watched watched;
    watched.stopAfter = 1;
    const StMovieProgress progress(movie, watch, reinterpret_cast<RefCon>(&watched));
    const LogCapture log;
    EXPECT_EQ(UQuickTimeMovie::FlattenMovieToFile(movie, copy_, 0), -128);
    EXPECT_TRUE(std::filesystem::is_empty(directory_.path()));
    EXPECT_EQ(watched.messages.back(), movieProgressClose);
}

}  // namespace
}  // namespace TWQuickTime
