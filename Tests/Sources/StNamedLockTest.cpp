#include "StNamedLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "StQuickTimeLock.h"

namespace TWQuickTime {
namespace {

/// Whether a thread that does not hold the name's lock could take it now.
bool isFree(const NSString& name) {
    bool taken = false;
    std::thread([&] {
        const auto lock = StNamedLock::sLocks->objectForKey(name);
        taken = lock->tryLock();
        if (taken)
            lock->unlock();
    }).join();
    return taken;
}

TEST(StNamedLock, OneThreadMayNestLocksOfTheSameName) {
    {
        StNamedLock outer("A");
        {
            StNamedLock inner("A");
            EXPECT_FALSE(isFree("A"));
        }
        EXPECT_FALSE(isFree("A"));
    }
    EXPECT_TRUE(isFree("A"));
}

TEST(StNamedLock, BlocksAnotherThreadOnlyForTheSameName) {
    auto first = std::make_unique<StNamedLock>("A");
    std::promise<void> otherNameTaken;
    std::atomic<bool> sameNameTaken = false;
    std::thread other([&] {
        {
            StNamedLock different("B");
            otherNameTaken.set_value();
        }
        StNamedLock same("A");
        sameNameTaken = true;
    });
    otherNameTaken.get_future().wait();
    EXPECT_FALSE(isFree("A"));
    EXPECT_FALSE(sameNameTaken);
    first.reset();
    other.join();
    EXPECT_TRUE(sameNameTaken);
}

TEST(StNamedLock, TheRegistryKeepsOneLockPerNameForEver) {
    std::shared_ptr<NSRecursiveLock> lock;
    {
        StNamedLock first("kept");
        lock = StNamedLock::sLocks->objectForKey("kept");
    }
    ASSERT_NE(lock, nullptr);
    const std::size_t count = StNamedLock::sLocks->count();
    const auto* registry = StNamedLock::sLocks;
    {
        StNamedLock second("kept");
        EXPECT_FALSE(isFree("kept"));
    }
    EXPECT_EQ(StNamedLock::sLocks, registry);
    EXPECT_EQ(StNamedLock::sLocks->objectForKey("kept"), lock);
    EXPECT_EQ(StNamedLock::sLocks->count(), count);
    StNamedLock another("another name");
    EXPECT_EQ(StNamedLock::sLocks->count(), count + 1);
}

TEST(StNamedLock, ANilNameHoldsNoLock) {
    StNamedLock first(nullptr);
    std::thread([] { StNamedLock second(nullptr); }).join();
    EXPECT_EQ(StNamedLock::sLocks->objectForKey(nullptr), nullptr);
}

TEST(StNamedLock, ThreadsThatMakeTheSameNameTogetherExcludeEachOther) {
    for (int round = 0; round < 100; ++round) {
        const NSString name("race " + std::to_string(round));
        constexpr int threadCount = 4;
        int unguarded = 0;
        std::latch start(threadCount);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < threadCount; ++thread)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                for (int turn = 0; turn < 10; ++turn) {
                    StNamedLock lock(name);
                    ++unguarded;
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        ASSERT_EQ(unguarded, threadCount * 10);
    }
}

TEST(StNamedLock, TheRegistryIsAbsentUntilTheFirstLockIsMade) {
    // In a fresh process, because this one has made locks long ago.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            if (StNamedLock::sLocks)
                _exit(1);
            { StNamedLock lock("first"); }
            _exit(StNamedLock::sLocks && StNamedLock::sLocks->count() == 1 ? 0 : 2);
        },
        testing::ExitedWithCode(0), "");
}

TEST(StQuickTimeLock, AndTheNamedLockOfItsNameExcludeEachOther) {
    {
        StQuickTimeLock lock;
        EXPECT_FALSE(isFree("QuickTimeLock"));
        StNamedLock sameThread("QuickTimeLock");
    }
    EXPECT_TRUE(isFree("QuickTimeLock"));

    auto named = std::make_unique<StNamedLock>("QuickTimeLock");
    std::atomic<bool> taken = false;
    std::promise<void> running;
    std::thread other([&] {
        running.set_value();
        StQuickTimeLock lock;
        taken = true;
    });
    running.get_future().wait();
    EXPECT_FALSE(taken);
    named.reset();
    other.join();
    EXPECT_TRUE(taken);
}

TEST(StQuickTimeLock, IsUnlockedWhenItIsDestroyedThroughItsBase) {
    std::unique_ptr<StNamedLock> lock = std::make_unique<StQuickTimeLock>();
    EXPECT_FALSE(isFree("QuickTimeLock"));
    lock.reset();
    EXPECT_TRUE(isFree("QuickTimeLock"));
}

}  // namespace
}  // namespace TWQuickTime
