#include "StMovie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "LogCapture.h"
#include "RunProgram.h"
#include "StMovieProgress.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "ToolboxTrace.h"
#include "UQuickTimeMovie.h"

namespace TWQuickTime {
namespace {

using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class StMovieTest : public testing::Test {
  protected:
    ~StMovieTest() override { ToolboxTrace::reset(); }

    test::TemporaryDirectory directory_;
    std::string path_ = directory_.file("a.mov");
};

std::string fileContents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST_F(StMovieTest, MakesAnEmptyMovieWithoutStorage) {
    const LogCapture log;
    const StMovie movie;
    EXPECT_NE(movie.GetMovie(), nullptr);
    EXPECT_EQ(movie.GetDataHandler(), nullptr);
    EXPECT_EQ(static_cast<Movie>(movie), movie.GetMovie());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(StMovieTest, DisposesOfAMovieThatItTookOver) {
    const Movie movie = NewMovie(newMovieActive);
    { const StMovie owner(movie); }
    EXPECT_EQ(GetMovieTimeScale(movie), 0);
    EXPECT_EQ(GetMoviesError(), invalidMovie);
}

TEST_F(StMovieTest, IsEmptyForNoPath) {
    const LogCapture log;
    ToolboxTrace::startRecording();
    {
        const StMovie opened{NSString()};
        const StMovie created(NSString(), 600, fourCC("TVOD"));
        EXPECT_EQ(opened.GetMovie(), nullptr);
        EXPECT_EQ(created.GetMovie(), nullptr);
        EXPECT_EQ(created.GetDataHandler(), nullptr);
    }
    EXPECT_THAT(ToolboxTrace::recordedCalls(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(StMovieTest, RefusesToWriteBackAMovieWithoutStorage) {
    const LogCapture log;
    StMovie wrapped(NewMovie(newMovieActive));
    EXPECT_EQ(wrapped.UpdateMovieFile(), -2007);
    StMovie none{Movie{nullptr}};
    EXPECT_EQ(none.UpdateMovieFile(), -2010);
    EXPECT_THAT(log.lines(),
                ElementsAre("UpdateMovieFile: Cannot update file with a NULL data handler...",
                            "UpdateMovieFile: Cannot update file of a NULL movie..."));
}

TEST_F(StMovieTest, CreatesAMovieFileThatOthersRead) {
    const LogCapture log;
    {
        StMovie movie(path_, 1000, fourCC("TVOD"));
        ASSERT_NE(movie.GetMovie(), nullptr);
        ASSERT_NE(movie.GetDataHandler(), nullptr);
        EXPECT_EQ(GetMovieTimeScale(movie), 1000);
        test::addVideoTrack(movie, 25, 50);
        test::addSoundTrack(movie, 8000, 16000);
        EXPECT_EQ(movie.UpdateMovieFile(), noErr);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
    const auto probed =
        test::runProgram({"ffprobe", "-v", "warning", "-show_entries",
                          "stream=codec_tag_string,nb_frames,duration", "-of", "csv=p=0", path_});
    EXPECT_EQ(probed.errors, "");
    EXPECT_EQ(probed.output, "raw ,2.000000,50\ntwos,2.000000,16000\n");
    const auto told = test::runProgram({"exiftool", "-s3", "-Warning", "-Error", path_});
    EXPECT_EQ(told.output, "");
    const auto inform =
        test::runProgram({"mediainfo", "--Inform=General;%Format% %Duration%", path_});
    EXPECT_EQ(inform.output, "MPEG-4 2000\n");
}

TEST_F(StMovieTest, ReplacesAFileThatIsThere) {
    std::ofstream(path_) << "something else entirely";
    {
        StMovie movie(path_, 600, fourCC("TVOD"));
        ASSERT_NE(movie.GetMovie(), nullptr);
        EXPECT_EQ(movie.UpdateMovieFile(), noErr);
    }
    EXPECT_EQ(fileContents(path_).find("something else"), std::string::npos);
    double seconds = 1;
    EXPECT_EQ(UQuickTimeMovie::GetDuration(path_, seconds), noErr);
    EXPECT_EQ(seconds, 0);
}

TEST_F(StMovieTest, OpensAndChangesAnothersFileInPlace) {
    test::runFfmpeg(
        {"-f", "lavfi", "-i", "testsrc=duration=1:size=64x48:rate=25", "-c:v", "mjpeg", path_});
    {
        StMovie movie{NSString(path_)};
        ASSERT_NE(movie.GetMovie(), nullptr);
        EXPECT_EQ(movie.GetVideoTrackCount(), 1);
        test::addSoundTrack(movie, 8000, 8000);
        EXPECT_EQ(movie.UpdateMovieFile(), noErr);
        test::addSoundTrack(movie, 16000, 16000);
        EXPECT_EQ(movie.UpdateMovieFile(), noErr);
    }
    const StMovie again{NSString(path_)};
    EXPECT_EQ(again.GetTrackCount(), 3);
    EXPECT_EQ(again.GetAudioTrackCount(), 2);
    EXPECT_EQ(GetMediaTimeScale(GetTrackMedia(again.GetAudioTrackAtIndex(2))), 16000);
    const auto probed =
        test::runProgram({"ffmpeg", "-v", "error", "-i", path_, "-map", "0", "-f", "null", "-"});
    EXPECT_EQ(probed.errors, "");
}

TEST_F(StMovieTest, LeavesAFileAloneWhoseMovieDidNotChange) {
    test::runFfmpeg(
        {"-f", "lavfi", "-i", "testsrc=duration=1:size=64x48:rate=25", "-c:v", "mjpeg", path_});
    const std::string before = fileContents(path_);
    {
        StMovie movie{NSString(path_)};
        EXPECT_EQ(movie.UpdateMovieFile(), noErr);
    }
    const std::string after = fileContents(path_);
    // The same movie atom stands in the file, wherever it was put.
    const std::size_t start = before.find("moov") - 4;
    const std::string atom = before.substr(start);
    EXPECT_NE(after.find(atom), std::string::npos);
}

TEST_F(StMovieTest, IsEmptyForAFileThatIsNotThere) {
    const LogCapture log;
    const StMovie movie{NSString(path_)};
    EXPECT_EQ(movie.GetMovie(), nullptr);
    EXPECT_EQ(movie.GetDataHandler(), nullptr);
    EXPECT_THAT(log.lines(),
                ElementsAre(StartsWith("OpenMovieStorage failed: -43 (Sources/StMovie:")));
}

TEST_F(StMovieTest, KeepsTheStorageOfAFileThatIsNoMovie) {
    std::ofstream(path_) << "no movie at all";
    const LogCapture log;
    const StMovie movie{NSString(path_)};
    EXPECT_EQ(movie.GetMovie(), nullptr);
    EXPECT_NE(movie.GetDataHandler(), nullptr);
    EXPECT_THAT(log.lines(),
                ElementsAre(StartsWith("NewMovieFromDataRef failed: -2048 (Sources/StMovie:")));
}

TEST_F(StMovieTest, TellsWhatCannotBeCreated) {
    const LogCapture log;
    const std::string path = directory_.file("no/such/folder/a.mov");
    const StMovie movie(path, 600, fourCC("TVOD"));
    EXPECT_EQ(movie.GetMovie(), nullptr);
    EXPECT_THAT(log.lines(),
                ElementsAre(StartsWith("CreateMovieStorage failed: -43"), "inPath=" + path));
}

TEST_F(StMovieTest, TellsATimeScaleThatCannotBe) {
    const LogCapture log;
    const StMovie movie(path_, 0, fourCC("TVOD"));
    EXPECT_NE(movie.GetMovie(), nullptr);
    EXPECT_EQ(GetMovieTimeScale(movie), 600);
    EXPECT_THAT(log.lines(),
                ElementsAre(StartsWith("SetMovieTimeScale failed: -50"), "inTimeScale=0"));
}

TEST_F(StMovieTest, ClosesTheStorageBeforeItDisposesOfTheMovie) {
    auto movie = std::make_unique<StMovie>(path_, 600, fourCC("TVOD"));
    ToolboxTrace::startRecording();
    movie.reset();
    EXPECT_THAT(ToolboxTrace::recordedCalls(), ElementsAre("CloseMovieStorage", "DisposeMovie"));
}

TEST_F(StMovieTest, ReportsAFailedUpdate) {
    const LogCapture log;
    StMovie movie(path_, 600, fourCC("TVOD"));
    ToolboxTrace::failCall("UpdateMovieInStorage", 1, -34);
    EXPECT_EQ(movie.UpdateMovieFile(), -34);
    EXPECT_THAT(log.lines(), ElementsAre(StartsWith("UpdateMovieInStorage failed: -34")));
}

OSErr anyProgress(Movie, std::int16_t, std::int16_t, Fixed, std::intptr_t) {
    return noErr;
}

TEST(StMovieProgressTest, InstallsItsCallbackForItsLifetime) {
    const test::ScopedMovie movie;
    MovieProgressUPP present = nullptr;
    {
        const StMovieProgress progress(movie, anyProgress, 5);
        RefCon refCon = 0;
        GetMovieProgressProc(movie, &present, &refCon);
        EXPECT_EQ(present, &anyProgress);
        EXPECT_EQ(refCon, 5);
    }
    GetMovieProgressProc(movie, &present, nullptr);
    EXPECT_EQ(present, nullptr);
}

TEST(StMovieProgressTest, InstallsNothingWithoutAMovieOrACallback) {
    const test::ScopedMovie movie;
    SetMovieProgressProc(movie, anyProgress, 5);
    const LogCapture log;
    ToolboxTrace::startRecording();
    {
        const StMovieProgress noMovie(nullptr, anyProgress, 5);
        const StMovieProgress noCallback(movie, nullptr, 5);
    }
    EXPECT_THAT(ToolboxTrace::recordedCalls(), IsEmpty());
    ToolboxTrace::reset();
    MovieProgressUPP present = nullptr;
    GetMovieProgressProc(movie, &present, nullptr);
    EXPECT_EQ(present, &anyProgress);
    EXPECT_THAT(log.lines(), ElementsAre("StMovieProgress: inMovie is NULL...",
                                         "StMovieProgress: inCallback is NULL..."));
}

}  // namespace
}  // namespace TWQuickTime
