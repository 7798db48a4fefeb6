#include "NSRecursiveLock.h"

#include "NSLog.h"

namespace TWQuickTime {

bool NSRecursiveLock::isOwnedByThisThread() const noexcept {
    // Only this thread writes its own identity here, so a stale value never equals it.
    return owner_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void NSRecursiveLock::lock() {
    if (!isOwnedByThisThread()) {
        mutex_.lock();
        owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
    }
    ++lockCount_;
}

bool NSRecursiveLock::tryLock() {
    if (!isOwnedByThisThread()) {
        if (!mutex_.try_lock())
            return false;
        owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
    }
    ++lockCount_;
    return true;
}

void NSRecursiveLock::unlock() {
    if (!isOwnedByThisThread()) {
        NSLog("NSRecursiveLock: unlocked by a thread that does not own it");
        return;
    }
    if (--lockCount_ > 0)
        return;
    owner_.store(std::thread::id(), std::memory_order_relaxed);
    mutex_.unlock();
}

}  // namespace TWQuickTime
