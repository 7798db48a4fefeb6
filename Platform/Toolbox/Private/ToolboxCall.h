// Every toolbox call begins with one of these: it keeps the thread's last status and, in
// development and test builds, tells the tracer the call's name and takes its planned fault.
//
//     OSErr SetTrackLayerChecked(Track track, short layer) {
//         ToolboxCall call("SetTrackLayer");
//         if (call.faulted()) return call.status();        // a planned failure: do nothing else
//         if (!track) return call.fail(invalidTrack);
//         …
//         return call.succeed();
//     }
#pragma once

#include "ToolboxTypes.h"

namespace TWQuickTime {

class ToolboxCall {
  public:
    explicit ToolboxCall(const char* name);
    ToolboxCall(const ToolboxCall&) = delete;
    ToolboxCall& operator=(const ToolboxCall&) = delete;

    /// Whether a test planned a failure for this call; status() then is the planned one.
    bool faulted() const { return faulted_; }
    OSStatus status() const { return status_; }
    /// Keeps the status as the thread's last one and returns it.
    OSErr fail(OSStatus status);
    OSErr finish(OSStatus status) { return fail(status); }
    OSErr succeed() { return fail(noErr); }

  private:
    OSStatus status_ = noErr;
    bool faulted_ = false;
};

}  // namespace TWQuickTime
