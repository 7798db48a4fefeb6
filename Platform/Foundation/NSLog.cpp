#include "NSLog.h"

#include <errno.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <mutex>
#include <utility>

namespace TWQuickTime::LogSink {
namespace {

void writeToStandardError(LogChannel, const NSString& line) {
    timeval now{};
    gettimeofday(&now, nullptr);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    char timeText[32];
    strftime(timeText, sizeof timeText, "%Y-%m-%d %H:%M:%S", &parts);
    const char* const end = line.utf8().ends_with('\n') ? "" : "\n";
    // One call, so that the lines of several processes do not mix.
    std::fprintf(stderr, "%s.%03d %s[%d] %s%s", timeText, static_cast<int>(now.tv_usec / 1000),
                 program_invocation_short_name, static_cast<int>(getpid()), line.utf8().c_str(),
                 end);
}

struct State {
    // Recursive, because a sink may itself log or install another sink.
    std::recursive_mutex mutex;
    // Shared, so that a sink that replaces itself lives on until it has returned.
    std::shared_ptr<Function> sink = std::make_shared<Function>(writeToStandardError);
};

/// Never destroyed: destructors of static objects may still log.
State& state() {
    static State& theState = *new State;
    return theState;
}

}  // namespace

Function replace(Function sink) {
    auto next = std::make_shared<Function>(sink ? std::move(sink) : Function(writeToStandardError));
    std::lock_guard lock(state().mutex);
    return *std::exchange(state().sink, std::move(next));
}

void emit(LogChannel channel, const NSString& line) {
    std::lock_guard lock(state().mutex);
    const std::shared_ptr<Function> sink = state().sink;
    (*sink)(channel, line);
}

}  // namespace TWQuickTime::LogSink
