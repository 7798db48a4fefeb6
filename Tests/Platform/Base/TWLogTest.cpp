#include "TWLog.h"

#include <gmock/gmock.h>

#include "LogCapture.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TWLog, HandsOneFinishedLineToTheSink) {
    const test::LogCapture log;
    TWLog("%s: Failed to open movie at path %@...", "GetDuration", NSString("/a"));
    EXPECT_THAT(log.lines(), ElementsAre("GetDuration: Failed to open movie at path /a..."));
}

TEST(TWLog, ComesOnItsOwnChannel) {
    std::vector<LogChannel> channels;
    const auto previous =
        LogSink::replace([&](LogChannel channel, const NSString&) { channels.push_back(channel); });
    TWLog("a");
    TWLogError(-50, "Call", "Sources/File", 1);
    LogSink::replace(previous);
    EXPECT_THAT(channels, ElementsAre(LogChannel::TWLog, LogChannel::TWLog));
}

TEST(TWLogError, ReportsANonZeroStatusWithLabelAndPlace) {
    const test::LogCapture log;
    TWLogError(-2020, "EnterMoviesOnThread", "Sources/StUseQuickTimeOnThread", 50);
    EXPECT_THAT(log.lines(), ElementsAre("EnterMoviesOnThread failed: -2020 "
                                         "(Sources/StUseQuickTimeOnThread:50)"));
}

TEST(TWLogError, SaysNothingOfSuccess) {
    const test::LogCapture log;
    TWLogError(0, "EnterMoviesOnThread", "Sources/StUseQuickTimeOnThread", 50);
    EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
}  // namespace TWQuickTime
