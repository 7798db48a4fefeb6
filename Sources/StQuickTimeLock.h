// The one lock by which all code serialises its calls of toolbox functions that are not
// thread-safe: the StNamedLock whose name is "QuickTimeLock".
//
//     StQuickTimeLock lock;
//     GetGraphicsImporterForFile(…);
#pragma once

#include "StNamedLock.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT StQuickTimeLock : public StNamedLock {
  public:
    /// Blocks until the lock is held. The thread that constructs the object must be the one that
    /// destroys it.
    StQuickTimeLock();
};

}  // namespace TWQuickTime
