#include "ToolboxTrace.h"

#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

thread_local OSErr lastStatus = noErr;

#ifdef TWQT_TOOLBOX_TRACE
struct PlannedFault {
    std::string name;
    int callsUntilFault = 1;
    OSStatus status = noErr;
};

struct ThreadTrace {
    bool recording = false;
    std::vector<std::string> calls;
    std::vector<PlannedFault> faults;
};

thread_local ThreadTrace trace;
#endif

}  // namespace

OSErr GetMoviesError() {
    return lastStatus;
}

ToolboxCall::ToolboxCall([[maybe_unused]] const char* name) {
#ifdef TWQT_TOOLBOX_TRACE
    if (trace.recording)
        trace.calls.emplace_back(name);
    for (auto fault = trace.faults.begin(); fault != trace.faults.end(); ++fault) {
        if (fault->name != name || --fault->callsUntilFault > 0)
            continue;
        faulted_ = true;
        status_ = fault->status;
        trace.faults.erase(fault);
        lastStatus = static_cast<OSErr>(status_);
        return;
    }
#endif
}

OSErr ToolboxCall::fail(OSStatus status) {
    status_ = status;
    lastStatus = static_cast<OSErr>(status);
    return lastStatus;
}

namespace ToolboxTrace {

#ifdef TWQT_TOOLBOX_TRACE
bool available() {
    return true;
}

void failCall(const std::string& name, int nth, OSStatus status) {
    trace.faults.push_back({name, nth, status});
}

void reset() {
    trace = ThreadTrace();
}

void startRecording() {
    trace.recording = true;
    trace.calls.clear();
}

std::vector<std::string> recordedCalls() {
    return trace.calls;
}
#else
bool available() {
    return false;
}

void failCall(const std::string&, int, OSStatus) {}
void reset() {}
void startRecording() {}

std::vector<std::string> recordedCalls() {
    return {};
}
#endif

}  // namespace ToolboxTrace
}  // namespace TWQuickTime
