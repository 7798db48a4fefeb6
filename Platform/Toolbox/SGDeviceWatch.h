// Tells a host that capture devices were plugged in or pulled out, so that it can list them again.
//
//     SGDeviceWatch watch;
//     … poll watch.descriptor() for reading, with everything else that the host waits for …
//     if (watch.takeChanges())
//         show(TWUSequenceGrabber::createInputDeviceArrayForChannel(channel, grabber, false));
//
// It is told of by the system's device manager: cameras, grabbers and sound hardware. Sources that
// a sound server makes up by itself are not hardware and come unannounced. Used by one thread at a
// time; a grabber need not be open.
#pragma once

#include <memory>

#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT SGDeviceWatch {
  public:
    /// Watches from now on.
    SGDeviceWatch();
    ~SGDeviceWatch();
    SGDeviceWatch(const SGDeviceWatch&) = delete;
    SGDeviceWatch& operator=(const SGDeviceWatch&) = delete;

    /// noErr, or featureUnsupported where the system tells no changes.
    OSErr status() const;
    /// Readable while there are changes to take; belongs to the watch. -1 where nothing is told.
    int descriptor() const;
    /// @return whether devices came, went or changed since the last call
    bool takeChanges();

  private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace TWQuickTime
