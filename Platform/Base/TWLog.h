// Logging of the framework: finished lines handed to one replaceable sink.
//
// Formats take %s %d %i %u %ld %lu %lld %llu %x %X %c %f %g %@ %%, checked against the kinds of the
// arguments at run time; a mismatch prints the argument in its own form, never undefined behaviour.
//
//     TWLog("%s: Failed to open movie at path %@...", "GetDuration", path);
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "NSLog.h"
#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Logs one line through the sink of NSLog.h.
template <class... Arguments>
void TWLog(const char* format, const Arguments&... arguments) {
    LogSink::emit(LogChannel::TWLog, formatString(format, arguments...));
}

/// Reports a non-zero status as one line: "<label> failed: <status> (<sourceFile>:<line>)"; logs
/// nothing for 0.
/// @param sourceFile  without extension, as in "Sources/StDataRef"
TWQT_EXPORT void TWLogError(std::int32_t status, const char* label, const char* sourceFile,
                            int line);

}  // namespace TWQuickTime
