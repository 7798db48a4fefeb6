#include "StUseQuickTimeOnThread.h"

#include <gmock/gmock.h>

#include <thread>

#include "LogCapture.h"
#include "MoviesThread.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(StUseQuickTimeOnThread, EntersForItsScopeAndExitsAfterwards) {
    std::thread([] {
        const test::LogCapture log;
        ToolboxTrace::startRecording();
        {
            StUseQuickTimeOnThread scope(0);
            StUseQuickTimeOnThread nested(1);
        }
        EXPECT_THAT(ToolboxTrace::recordedCalls(),
                    ElementsAre("EnterMoviesOnThread", "EnterMoviesOnThread", "ExitMoviesOnThread",
                                "ExitMoviesOnThread"));
        EXPECT_THAT(log.lines(), IsEmpty());
        EXPECT_EQ(ExitMoviesOnThread(), movieToolboxUninitialized);
    }).join();
}

TEST(StUseQuickTimeOnThread, WhoseEnterFailsStillExitsAndLogsBothStatuses) {
    const test::LogCapture log;
    ToolboxTrace::failCall("EnterMoviesOnThread", 1, -108);
    { StUseQuickTimeOnThread scope(0); }
    EXPECT_THAT(log.lines(), ElementsAre("EnterMoviesOnThread failed: -108 "
                                         "(Sources/StUseQuickTimeOnThread:50)",
                                         "ExitMoviesOnThread failed: -2020 "
                                         "(Sources/StUseQuickTimeOnThread:62)"));
    ToolboxTrace::reset();
}

TEST(StUseQuickTimeOnThread, AFailingExitIsOnlyLogged) {
    const test::LogCapture log;
    {
        StUseQuickTimeOnThread scope(0);
        ToolboxTrace::failCall("ExitMoviesOnThread", 1, -50);
    }
    EXPECT_THAT(log.lines(), ElementsAre("ExitMoviesOnThread failed: -50 "
                                         "(Sources/StUseQuickTimeOnThread:62)"));
    ToolboxTrace::reset();
    EXPECT_EQ(ExitMoviesOnThread(), noErr);
}

}  // namespace
}  // namespace TWQuickTime
