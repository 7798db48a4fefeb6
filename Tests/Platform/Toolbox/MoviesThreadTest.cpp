#include "MoviesThread.h"

#include <gtest/gtest.h>

#include <thread>

#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

TEST(MoviesThread, EntriesNestAndEachNeedsItsExit) {
    EXPECT_EQ(EnterMoviesOnThread(0), noErr);
    EXPECT_EQ(EnterMoviesOnThread(1), noErr);
    EXPECT_EQ(ExitMoviesOnThread(), noErr);
    EXPECT_EQ(ExitMoviesOnThread(), noErr);
    EXPECT_EQ(ExitMoviesOnThread(), movieToolboxUninitialized);
}

TEST(MoviesThread, ExitWithoutEnterSetsTheLastStatus) {
    EXPECT_EQ(ExitMoviesOnThread(), -2020);
    EXPECT_EQ(GetMoviesError(), -2020);
    EXPECT_EQ(EnterMoviesOnThread(0), noErr);
    EXPECT_EQ(GetMoviesError(), noErr);
    EXPECT_EQ(ExitMoviesOnThread(), noErr);
}

TEST(MoviesThread, EachThreadCountsForItself) {
    ASSERT_EQ(EnterMoviesOnThread(0), noErr);
    OSErr statusOnOther = noErr;
    std::thread([&] { statusOnOther = ExitMoviesOnThread(); }).join();
    EXPECT_EQ(statusOnOther, movieToolboxUninitialized);
    EXPECT_EQ(ExitMoviesOnThread(), noErr);
}

TEST(MoviesThread, AnEntryThatFailsDoesNotCount) {
    ToolboxTrace::failCall("EnterMoviesOnThread", 1, -108);
    EXPECT_EQ(EnterMoviesOnThread(0), -108);
    EXPECT_EQ(ExitMoviesOnThread(), movieToolboxUninitialized);
    ToolboxTrace::reset();
}

}  // namespace
}  // namespace TWQuickTime
