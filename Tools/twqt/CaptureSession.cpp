#include "CaptureSession.h"

#include <Components.h>
#include <TWUSequenceGrabber.h>

#include "CommandFailure.h"

namespace twqt {

using namespace TWQuickTime;

CaptureSession::CaptureSession(bool withTestPattern)
    : grabber_(OpenDefaultComponent(SeqGrabComponentType, 0)) {
    if (!grabber_)
        throw CommandFailure("open the sequence grabber", "there is none (-2005)");
    SGInitialize(grabber_);
    if (withTestPattern)
        SGOfferTestPattern(grabber_, true);
}

CaptureSession::~CaptureSession() {
    CloseComponent(grabber_);
}

SGChannel CaptureSession::addChannel(OSType mediaType) {
    SGChannel channel = nullptr;
    if (const ComponentResult status = SGNewChannel(grabber_, mediaType, &channel); status != noErr)
        throw failureWithStatus("open a capture channel", status);
    return channel;
}

void CaptureSession::disposeChannel(SGChannel channel) {
    SGDisposeChannel(grabber_, channel);
}

NSArray CaptureSession::inputs(SGChannel channel, bool includeUnavailable) const {
    return TWUSequenceGrabber::createInputDeviceArrayForChannel(channel, grabber_,
                                                                includeUnavailable);
}

void addTestPatternFlag(CLI::App& command, bool& testPattern) {
    command.add_flag("--test-pattern", testPattern,
                     "offer the built-in test pattern, as TWQT_TEST_PATTERN=1 does");
}

}  // namespace twqt
