#include "NSLog.h"

#include <gmock/gmock.h>

#include <thread>
#include <vector>

#include "LogCapture.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

TEST(NSLog, HandsOneFinishedLineToTheSink) {
    const test::LogCapture log;
    NSLog("%s: %d of %@", "Count", 3, NSString("many"));
    NSLog("ends with a line feed\n");
    EXPECT_THAT(log.lines(), ElementsAre("Count: 3 of many", "ends with a line feed\n"));
}

TEST(NSLog, TheSinkLearnsWhichCallTheLineCameFrom) {
    std::vector<LogChannel> channels;
    auto previous =
        LogSink::replace([&](LogChannel channel, const NSString&) { channels.push_back(channel); });
    NSLog("a");
    LogSink::emit(LogChannel::TWLog, "b");
    LogSink::replace(previous);
    EXPECT_THAT(channels, ElementsAre(LogChannel::NSLog, LogChannel::TWLog));
}

TEST(NSLog, WithoutASinkTheLineGoesToStandardErrorWithTimeAndProcess) {
    const auto previous = LogSink::replace(nullptr);
    testing::internal::CaptureStderr();
    NSLog("the text");
    NSLog("with its own line feed\n");
    const std::string written = testing::internal::GetCapturedStderr();
    LogSink::replace(previous);
    EXPECT_THAT(written, MatchesRegex("[0-9-]+ [0-9:]+[.][0-9]+ [^ \n]+ the text\n"
                                      "[0-9-]+ [0-9:]+[.][0-9]+ [^ \n]+ with its own line feed\n"));
}

TEST(NSLog, ASinkMayLogAndReplaceItself) {
    std::vector<std::string> lines;
    LogSink::Function previous;
    previous = LogSink::replace([&](LogChannel, const NSString& line) {
        lines.push_back(line.utf8());
        if (line == "outer") {
            NSLog("inner");
            LogSink::replace([&](LogChannel, const NSString& later) {
                lines.push_back("second sink: " + later.utf8());
            });
        }
    });
    NSLog("outer");
    NSLog("last");
    LogSink::replace(previous);
    EXPECT_THAT(lines, ElementsAre("outer", "inner", "second sink: last"));
}

TEST(NSLog, TheSinkSeesOneLineAtATimeFromAllThreads) {
    std::vector<std::string> lines;  // unguarded on purpose: the sink's own guarantee is tested
    const auto previous =
        LogSink::replace([&](LogChannel, const NSString& line) { lines.push_back(line.utf8()); });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([thread] {
            for (int line = 0; line < 100; ++line)
                NSLog("thread %d line %d", thread, line);
        });
    for (std::thread& thread : threads)
        thread.join();
    LogSink::replace(previous);
    EXPECT_EQ(lines.size(), 400u);
}

}  // namespace
}  // namespace TWQuickTime
