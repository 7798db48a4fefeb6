#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogCapture.h"
#include "RunProgram.h"
#include "StMovie.h"
#include "TWUQuickTimeMovie.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "TimeCodeMedia.h"
#include "ToolboxTrace.h"
#include "UserData.h"

namespace TWQuickTime {
namespace {

using TWU = TWUQuickTimeMovie;
using test::LogCapture;
using test::ScopedHandle;
using test::ScopedMovie;
using testing::IsEmpty;

class TimecodeTrack : public testing::Test {
  protected:
    ~TimecodeTrack() override { ToolboxTrace::reset(); }

    Track track() {
        return GetMovieIndTrackType(movie_, 1, TimeCodeMediaType, movieTrackMediaType);
    }

    ScopedMovie movie_;
};

class TimecodeTrackOf10Seconds : public TimecodeTrack {
  protected:
    Track video_ = test::addVideoTrack(movie_, 25, 250);
};

TEST_F(TimecodeTrackOf10Seconds, HasOneSampleOverTheWholeMovie) {
    const LogCapture log;
    ASSERT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), noErr);
    EXPECT_TRUE(TWU::hasMovieTimeCodeTrack(movie_));
    ASSERT_NE(track(), nullptr);
    EXPECT_FALSE(GetTrackEnabled(track()));
    EXPECT_EQ(GetMediaSampleCount(GetTrackMedia(track())), 1);
    EXPECT_EQ(GetTrackDuration(track()), 6000);
    EXPECT_EQ(GetMediaTimeScale(GetTrackMedia(track())), 600);
    EXPECT_EQ(TWU::getStartTimeCodeOfMovie(movie_), (TimeCodeTime{1, 0, 0, 0}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TimecodeTrackOf10Seconds, TakesTheEdgesOfTheBoxForFixedPointOnPurpose) {
    ASSERT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), noErr);
    Fixed width = 0, height = 0;
    GetTrackDimensions(track(), &width, &height);
    EXPECT_EQ(width, 16);
    EXPECT_EQ(height, 16);
    EXPECT_EQ(GetTrackVolume(track()), 0);
}

TEST_F(TimecodeTrackOf10Seconds, HasADescriptionWithAnEmptyName) {
    ASSERT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), noErr);
    const ScopedHandle description, data;
    ASSERT_EQ(GetMediaSample(GetTrackMedia(track()), data, 0, nullptr, 0, nullptr, nullptr,
                             description, nullptr, 0, nullptr, nullptr),
              noErr);
    EXPECT_EQ(description.bytes(),
              (std::vector<std::uint8_t>{0,  0, 0,    46,   't', 'm', 'c', 'd', 0, 0, 0, 0,
                                         0,  0, 0,    1,    0,   0,   0,   0,  // description flags
                                         0,  0, 0,    3,     // drop frame, 24 hours
                                         0,  0, 0x09, 0xC4,  // 2500 units a second
                                         0,  0, 0,    100,   // 100 units a frame
                                         25, 0,              // labels in a second
                                         0,  0, 0,    12,   'n', 'a', 'm', 'e', 0, 0, 0, 0}));
    EXPECT_EQ(data.bytes(), (std::vector<std::uint8_t>{0, 1, 0x5F, 0x90}));  // 90000
}

TEST_F(TimecodeTrackOf10Seconds, IsRemovedOneByOne) {
    ASSERT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), noErr);
    ASSERT_EQ(TWU::addTimeCode({2, 0, 0, 0}, movie_, 25), noErr);
    EXPECT_EQ(GetMovieTrackCount(movie_), 3);
    EXPECT_TRUE(TWU::removeTimeCodeTrackOfMovie(movie_));
    EXPECT_EQ(TWU::getStartTimeCodeOfMovie(movie_), (TimeCodeTime{2, 0, 0, 0}));
    EXPECT_TRUE(TWU::removeTimeCodeTrackOfMovie(movie_));
    EXPECT_FALSE(TWU::removeTimeCodeTrackOfMovie(movie_));
    EXPECT_FALSE(TWU::hasMovieTimeCodeTrack(movie_));
    EXPECT_EQ(GetMovieTrackCount(movie_), 1);
}

TEST_F(TimecodeTrack, IsAllZeroWhenThereIsNone) {
    EXPECT_EQ(TWU::getStartTimeCodeOfMovie(movie_), TimeCodeTime{});
    EXPECT_EQ(TWU::getTimeCodeMediaHandlerOfMovie(movie_), nullptr);
    EXPECT_EQ(TWU::getStartTimeCodeOfMovie(nullptr), TimeCodeTime{});
    EXPECT_FALSE(TWU::hasMovieTimeCodeTrack(nullptr));
    EXPECT_FALSE(TWU::removeTimeCodeTrackOfMovie(nullptr));
    EXPECT_EQ(TWU::getTimeCodeMediaHandlerOfMovie(nullptr), nullptr);
}

TEST_F(TimecodeTrack, StartsAnEmptyMovieToo) {
    ASSERT_EQ(TWU::addTimeCode({10, 20, 30, 5}, movie_, 25), noErr);
    EXPECT_EQ(TWU::getStartTimeCodeOfMovie(movie_), (TimeCodeTime{10, 20, 30, 5}));
}

TEST_F(TimecodeTrack, SucceedsWithoutATrackOrAMediaOnPurpose) {
    EXPECT_EQ(TWU::addTimeCode({1, 0, 0, 0}, nullptr, 25), noErr);
    ToolboxTrace::failCall("NewMovieTrack", 1, -108);
    EXPECT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), noErr);
    EXPECT_EQ(GetMovieTrackCount(movie_), 0);
    ToolboxTrace::failCall("NewTrackMedia", 1, -108);
    EXPECT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), noErr);
    EXPECT_EQ(GetMovieTrackCount(movie_), 1);
    ToolboxTrace::failCall("GetMediaHandler", 1, -108);
    EXPECT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), noErr);
    EXPECT_EQ(GetMovieTrackCount(movie_), 2);
}

TEST_F(TimecodeTrack, ReturnsTheStatusOfBeginningEdits) {
    ToolboxTrace::failCall("BeginMediaEdits", 1, -2043);
    EXPECT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), -2043);
}

TEST_F(TimecodeTrack, ReturnsTheStatusOfEndingEditsWhenAStepBeforeFails) {
    for (const char* call :
         {"NewHandleClear", "NewUserData", "PtrToHand", "AddUserDataText", "TCSetSourceRef",
          "NewHandle", "TCTimeCodeToFrameNumber", "AddMediaSample"}) {
        ToolboxTrace::failCall(call, 1, -108);
        EXPECT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), noErr) << call;
        ToolboxTrace::reset();
        ToolboxTrace::failCall(call, 1, -108);
        ToolboxTrace::failCall("EndMediaEdits", 1, -2008);
        EXPECT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), -2008) << call;
        ToolboxTrace::reset();
    }
}

TEST_F(TimecodeTrack, ReturnsTheStatusOfPlacingTheSample) {
    ToolboxTrace::failCall("InsertMediaIntoTrack", 1, -2014);
    EXPECT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 25), -2014);
}

TEST_F(TimecodeTrackOf10Seconds, CountsOnInMediaTime) {
    ASSERT_EQ(TWU::addTimeCode({0, 59, 59, 24}, movie_, 25), noErr);
    const MediaHandler handler = TWU::getTimeCodeMediaHandlerOfMovie(movie_);
    TimeCodeRecord record;
    std::int32_t frame = 0;
    TimeCodeDef definition;
    ASSERT_EQ(TCGetTimeCodeAtTime(handler, 23, &frame, &definition, &record, nullptr), noErr);
    EXPECT_EQ(record.t, (TimeCodeTime{0, 59, 59, 24}));
    ASSERT_EQ(TCGetTimeCodeAtTime(handler, 24, &frame, nullptr, &record, nullptr), noErr);
    EXPECT_EQ(record.t, (TimeCodeTime{1, 0, 0, 0}));
    EXPECT_EQ(frame, 90000);
    EXPECT_EQ(definition.fTimeScale, 2500);
    EXPECT_EQ(TCGetTimeCodeAtTime(handler, 6000, nullptr, nullptr, &record, nullptr), invalidTime);
    SetMovieTimeValue(movie_, 48);
    ASSERT_EQ(TCGetCurrentTimeCode(handler, nullptr, nullptr, &record, nullptr), noErr);
    EXPECT_EQ(record.t, (TimeCodeTime{1, 0, 0, 1}));
}

TEST_F(TimecodeTrackOf10Seconds, GivesItsSourceName) {
    ASSERT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie_, 30), noErr);
    const MediaHandler handler = TWU::getTimeCodeMediaHandlerOfMovie(movie_);
    UserData source = nullptr;
    ASSERT_EQ(TCGetTimeCodeAtTime(handler, 0, nullptr, nullptr, nullptr, &source), noErr);
    EXPECT_EQ(CountUserDataType(source, fourCC("name")), 1);
    EXPECT_EQ(DisposeUserData(source), noErr);
}

TEST(TimeCodeMedia, RefusesHandlersThatAreNone) {
    const ScopedMovie movie;
    const MediaHandler sound = GetMediaHandler(GetTrackMedia(test::addSoundTrack(movie, 8000, 8)));
    TimeCodeRecord record;
    const TimeCodeDef definition{.numFrames = 25};
    std::int32_t frame = 0;
    for (const MediaHandler handler : {MediaHandler{nullptr}, sound}) {
        EXPECT_EQ(TCSetTimeCodeFlags(handler, 0, 1), invalidHandler);
        EXPECT_EQ(TCTimeCodeToFrameNumber(handler, &definition, &record, &frame), invalidHandler);
        EXPECT_EQ(TCGetTimeCodeAtTime(handler, 0, nullptr, nullptr, &record, nullptr),
                  invalidHandler);
    }
}

struct Rate {
    int framesPerSecond;
    const char* shown;  ///< by ffprobe and mediainfo
};

class TimecodeInFiles : public testing::TestWithParam<Rate> {};

TEST_P(TimecodeInFiles, IsShownByOtherPrograms) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("a.mov");
    test::runFfmpeg(
        {"-f", "lavfi", "-i",
         "testsrc=duration=2:size=64x48:rate=" + std::to_string(GetParam().framesPerSecond), "-c:v",
         "mjpeg", path});
    {
        StMovie movie{NSString(path)};
        ASSERT_EQ(TWU::addTimeCode({1, 0, 0, 0}, movie, GetParam().framesPerSecond), noErr);
        ASSERT_EQ(movie.UpdateMovieFile(), noErr);
    }
    const StMovie movie{NSString(path)};
    EXPECT_EQ(TWU::getStartTimeCodeOfMovie(movie), (TimeCodeTime{1, 0, 0, 0}));
    const auto probed =
        test::runProgram({"ffprobe", "-v", "error", "-select_streams", "d", "-show_entries",
                          "stream_tags=timecode", "-of", "csv=p=0", path});
    EXPECT_EQ(probed.output, std::string(GetParam().shown) + "\n");
    EXPECT_EQ(probed.errors, "");
    const auto informed =
        test::runProgram({"mediainfo", "--Inform=Other;%TimeCode_FirstFrame%", path});
    EXPECT_EQ(informed.output, std::string(GetParam().shown) + "\n");
}

INSTANTIATE_TEST_SUITE_P(Rates, TimecodeInFiles,
                         testing::Values(Rate{30, "01:00:00;00"}, Rate{60, "01:00:00;00"}));

struct Written {
    const char* rate;
    const char* timeCode;
    TimeCodeTime expected;
};

class TimecodeOfOthers : public testing::TestWithParam<Written> {};

TEST_P(TimecodeOfOthers, IsRead) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("a.mov");
    test::runFfmpeg({"-f", "lavfi", "-i",
                     std::string("testsrc=duration=1:size=64x48:rate=") + GetParam().rate, "-c:v",
                     "mjpeg", "-timecode", GetParam().timeCode, path});
    const StMovie movie{NSString(path)};
    EXPECT_EQ(TWU::getStartTimeCodeOfMovie(movie), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Rates, TimecodeOfOthers,
                         testing::Values(Written{"24000/1001", "01:02:03:04", {1, 2, 3, 4}},
                                         Written{"25", "10:00:00:24", {10, 0, 0, 24}},
                                         Written{"30000/1001", "00:01:00;02", {0, 1, 0, 2}},
                                         Written{"30000/1001", "01:00:00:00", {1, 0, 0, 0}},
                                         Written{"50", "23:59:59:49", {23, 59, 59, 49}},
                                         Written{"60000/1001", "00:10:00;00", {0, 10, 0, 0}},
                                         Written{"120000/1001", "00:01:00;08", {0, 1, 0, 8}}));

}  // namespace
}  // namespace TWQuickTime
