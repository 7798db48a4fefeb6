// Takes a process-wide recursive lock, chosen by name, for the lifetime of a scope. While an object
// lives, no other thread can hold one of the same name; the same thread may nest them.
//
//     {
//         StNamedLock lock("ThumbnailCache");
//         …                                     // one thread at a time
//     }
#pragma once

#include "NSMutableDictionary.h"
#include "NSRecursiveLock.h"
#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT StNamedLock {
  public:
    /// Blocks until the lock of that name is held. The thread that constructs the object must be
    /// the one that destroys it.
    /// @param name  nil names no lock: the object then holds none
    explicit StNamedLock(const NSString& name);
    virtual ~StNamedLock();
    StNamedLock(const StNamedLock&) = delete;
    StNamedLock& operator=(const StNamedLock&) = delete;

    /// The locks of all names ever used, each kept until the process ends. Null until the first
    /// object is constructed, never freed; to be read by threads that have constructed one.
    static NSMutableDictionary<NSRecursiveLock>* sLocks;

  private:
    /// Owned by sLocks; null only if no lock could be had.
    NSRecursiveLock* mLock = nullptr;
};

}  // namespace TWQuickTime
