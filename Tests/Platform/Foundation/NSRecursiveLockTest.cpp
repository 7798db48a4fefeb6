#include "NSRecursiveLock.h"

#include <gmock/gmock.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include "LogCapture.h"

namespace TWQuickTime {
namespace {

bool anotherThreadCanTake(NSRecursiveLock& lock) {
    bool taken = false;
    std::thread([&] {
        taken = lock.tryLock();
        if (taken)
            lock.unlock();
    }).join();
    return taken;
}

TEST(NSRecursiveLock, ItsOwnerMayTakeItAgainAndItIsFreeAfterAsManyUnlocks) {
    NSRecursiveLock lock;
    lock.lock();
    lock.lock();
    EXPECT_TRUE(lock.tryLock());
    lock.unlock();
    lock.unlock();
    EXPECT_FALSE(anotherThreadCanTake(lock));
    lock.unlock();
    EXPECT_TRUE(anotherThreadCanTake(lock));
}

TEST(NSRecursiveLock, AThreadThatDoesNotOwnItCannotUnlockIt) {
    const test::LogCapture log;
    NSRecursiveLock lock;
    lock.lock();
    std::thread([&] { lock.unlock(); }).join();
    EXPECT_FALSE(anotherThreadCanTake(lock));
    lock.unlock();
    lock.unlock();
    EXPECT_THAT(log.lines(),
                testing::ElementsAre("NSRecursiveLock: unlocked by a thread that does not own it",
                                     "NSRecursiveLock: unlocked by a thread that does not own it"));
}

TEST(NSRecursiveLock, ExcludesThreadsFromEachOther) {
    NSRecursiveLock lock;
    int unguarded = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int round = 0; round < 500; ++round) {
                lock.lock();
                lock.lock();
                ++unguarded;
                lock.unlock();
                lock.unlock();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(unguarded, 2000);
}

}  // namespace
}  // namespace TWQuickTime
