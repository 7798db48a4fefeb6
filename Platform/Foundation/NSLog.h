// The platform's log, and the one place where every log line of the library ends.
//
// A finished line goes to the sink: by default to standard error with time and process, in tests to
// a list that they compare whole. The sink may be called from any thread, one line at a time.
//
//     auto previous = LogSink::replace([&](LogChannel, const NSString& line) {
//     lines.push_back(line); });
#pragma once

#include <functional>

#include "FormatString.h"
#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Which call a line came from.
enum class LogChannel { NSLog, TWLog };

namespace LogSink {
using Function = std::function<void(LogChannel channel, const NSString& line)>;
/// Installs a sink and returns the one before; an empty function restores the default.
TWQT_EXPORT Function replace(Function sink);
TWQT_EXPORT void emit(LogChannel channel, const NSString& line);
}  // namespace LogSink

template <class... Arguments>
void NSLog(const char* format, const Arguments&... arguments) {
    LogSink::emit(LogChannel::NSLog, formatString(format, arguments...));
}

}  // namespace TWQuickTime
