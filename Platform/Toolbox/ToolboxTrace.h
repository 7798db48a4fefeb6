// Tracing and fault injection of toolbox calls, for development and tests.
//
// Present only in builds configured with TWQT_TOOLBOX_TRACE; in others every function here does
// nothing and `available()` is false. A plan belongs to the thread that made it.
//
//     ToolboxTrace::failCall("EnterMoviesOnThread", 1, -2020);   // its first call from now on
#pragma once

#include <string>
#include <vector>

#include "ToolboxTypes.h"

namespace TWQuickTime::ToolboxTrace {

TWQT_EXPORT bool available();
/// Makes the n-th call of that name (1: the next one) on this thread return the status and do
/// nothing else.
TWQT_EXPORT void failCall(const std::string& name, int nth, OSStatus status);
/// Forgets this thread's plans and recorded calls, and stops recording.
TWQT_EXPORT void reset();
TWQT_EXPORT void startRecording();
/// Names of the calls made on this thread since startRecording(), in order.
TWQT_EXPORT std::vector<std::string> recordedCalls();

}  // namespace TWQuickTime::ToolboxTrace
