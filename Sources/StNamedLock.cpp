#include "StNamedLock.h"

#include <memory>
#include <mutex>

namespace TWQuickTime {

NSMutableDictionary<NSRecursiveLock>* StNamedLock::sLocks = nullptr;

StNamedLock::StNamedLock(const NSString& name) {
    static std::mutex creationOfTheRegistry;
    {
        std::lock_guard guard(creationOfTheRegistry);
        if (!sLocks)
            sLocks = new NSMutableDictionary<NSRecursiveLock>();
    }
    // Look-up and entry stand outside the guarded region on purpose. Of two threads that both find
    // no entry, the registry takes the lock of the first and hands that one to the other as well.
    mLock = sLocks->objectForKey(name).get();
    if (!mLock)
        mLock = sLocks->setObjectIfAbsent(std::make_shared<NSRecursiveLock>(), name).get();
    if (mLock)
        mLock->lock();
}

StNamedLock::~StNamedLock() {
    if (mLock)
        mLock->unlock();
}

}  // namespace TWQuickTime
