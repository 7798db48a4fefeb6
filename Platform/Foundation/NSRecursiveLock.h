// A lock that its owner may take again; it is free when every lock is paired by an unlock.
//
//     NSRecursiveLock lock;
//     lock.lock();
//     lock.lock();      // the same thread: does not block
//     lock.unlock();
//     lock.unlock();
#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>
#include <thread>

#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSRecursiveLock {
  public:
    NSRecursiveLock() = default;
    NSRecursiveLock(const NSRecursiveLock&) = delete;
    NSRecursiveLock& operator=(const NSRecursiveLock&) = delete;

    /// Blocks until the calling thread owns the lock.
    void lock();
    /// False, and nothing happens, when another thread owns the lock.
    bool tryLock();
    /// Gives back one lock(). By a thread that does not own the lock: logs and does nothing else.
    void unlock();

  private:
    bool isOwnedByThisThread() const noexcept;

    std::mutex mutex_;
    std::atomic<std::thread::id> owner_{};
    /// Touched by the owner only.
    std::size_t lockCount_ = 0;
};

}  // namespace TWQuickTime
