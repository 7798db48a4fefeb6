// An open sequence grabber for the length of a command.
//
//     CaptureSession session;
//     SGChannel video = session.addChannel(SGVideoMediaType);
//     show(session.inputs(video, false));
#pragma once

#include <PropertyListValue.h>
#include <SequenceGrabber.h>

#include "Command.h"

namespace twqt {

class CaptureSession {
  public:
    /// @param withTestPattern  lists it, whatever the environment says
    explicit CaptureSession(bool withTestPattern);
    ~CaptureSession();
    CaptureSession(const CaptureSession&) = delete;
    CaptureSession& operator=(const CaptureSession&) = delete;

    TWQuickTime::SeqGrabComponent grabber() const { return grabber_; }
    /// A channel that lives as long as the session.
    TWQuickTime::SGChannel addChannel(TWQuickTime::OSType mediaType);
    void disposeChannel(TWQuickTime::SGChannel channel);
    /// The device-input dictionaries of the channel.
    TWQuickTime::NSArray inputs(TWQuickTime::SGChannel channel, bool includeUnavailable) const;

  private:
    TWQuickTime::SeqGrabComponent grabber_;
};

/// Adds `--test-pattern`.
void addTestPatternFlag(CLI::App& command, bool& testPattern);

}  // namespace twqt
