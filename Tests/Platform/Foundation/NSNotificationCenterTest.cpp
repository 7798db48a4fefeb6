#include "NSNotificationCenter.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

#include "NSRunLoop.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Observer : public std::enable_shared_from_this<Observer> {
  public:
    void note(const NSNotification& notification) {
        names.push_back(notification.name().utf8());
        lastObject = notification.object().get();
        lastUserInfo = notification.userInfo();
        lastThread = std::this_thread::get_id();
    }
    std::vector<std::string> names;
    const void* lastObject = nullptr;
    NSDictionary lastUserInfo;
    std::thread::id lastThread;
};

struct NotificationTest : testing::Test {
    NSNotificationCenter center;
    std::shared_ptr<Observer> observer = std::make_shared<Observer>();
    std::shared_ptr<int> movie = std::make_shared<int>(1);
    std::shared_ptr<int> otherMovie = std::make_shared<int>(2);
};

using NSNotificationCenterTest = NotificationTest;

TEST_F(NSNotificationCenterTest, TellsAnObserverOfTheNameAndObjectThatItAskedFor) {
    center.addObserver(observer, &Observer::note, "RateDidChange", movie);
    center.postNotificationName("RateDidChange", movie, NSDictionary{{"rate", 1.0}});
    center.postNotificationName("RateDidChange", otherMovie);
    center.postNotificationName("LoadStateDidChange", movie);
    center.postNotificationName("RateDidChange", nullptr);
    EXPECT_THAT(observer->names, ElementsAre("RateDidChange"));
    EXPECT_EQ(observer->lastObject, movie.get());
    EXPECT_EQ(observer->lastUserInfo, (NSDictionary{{"rate", 1.0}}));
}

TEST_F(NSNotificationCenterTest, NoNameAndNoObjectStandForAll) {
    center.addObserver(observer, &Observer::note, nullptr, movie);
    center.addObserver(observer, &Observer::note, "A", nullptr);
    center.postNotificationName("A", otherMovie);
    center.postNotificationName("B", movie);
    center.postNotificationName("B", otherMovie);
    center.postNotificationName("A", movie);
    EXPECT_THAT(observer->names, ElementsAre("A", "B", "A", "A"));
}

TEST_F(NSNotificationCenterTest, TellsObserversInTheOrderInWhichTheyWereAdded) {
    std::string order;
    const auto first = std::make_shared<int>(), second = std::make_shared<int>();
    center.addObserver(
        first, [&](const NSNotification&) { order += "1"; }, "A", nullptr);
    center.addObserver(
        second, [&](const NSNotification&) { order += "2"; }, "A", nullptr);
    center.addObserver(
        first, [&](const NSNotification&) { order += "3"; }, "A", nullptr);
    center.postNotificationName("A", nullptr);
    EXPECT_EQ(order, "123");
}

TEST_F(NSNotificationCenterTest, AnObserverThatWasRemovedIsToldNothing) {
    center.addObserver(observer, &Observer::note, "A", nullptr);
    center.addObserver(observer, &Observer::note, "B", movie);
    center.removeObserver(observer, "A", nullptr);
    center.postNotificationName("A", movie);
    center.postNotificationName("B", movie);
    EXPECT_THAT(observer->names, ElementsAre("B"));
    center.removeObserver(observer);
    center.postNotificationName("B", movie);
    EXPECT_THAT(observer->names, ElementsAre("B"));
}

TEST_F(NSNotificationCenterTest, RemovingForOneObjectLeavesTheOthers) {
    center.addObserver(observer, &Observer::note, "A", movie);
    center.addObserver(observer, &Observer::note, "A", otherMovie);
    center.removeObserver(observer, nullptr, movie);
    center.postNotificationName("A", movie);
    center.postNotificationName("A", otherMovie);
    EXPECT_EQ(observer->lastObject, otherMovie.get());
    EXPECT_EQ(observer->names.size(), 1u);
}

TEST_F(NSNotificationCenterTest, AnObserverRemovedByAnotherInTheSameDeliveryIsToldNothing) {
    const auto remover = std::make_shared<int>();
    center.addObserver(
        remover, [&](const NSNotification&) { center.removeObserver(observer); }, "A", nullptr);
    center.addObserver(observer, &Observer::note, "A", nullptr);
    center.postNotificationName("A", nullptr);
    EXPECT_THAT(observer->names, IsEmpty());
}

TEST_F(NSNotificationCenterTest, AnObserverThatHasGoneIsToldNothing) {
    int told = 0;
    auto shortLived = std::make_shared<int>();
    center.addObserver(
        shortLived, [&](const NSNotification&) { ++told; }, "A", nullptr);
    shortLived.reset();
    center.postNotificationName("A", nullptr);
    EXPECT_EQ(told, 0);
}

TEST_F(NSNotificationCenterTest, AHandlerMayPostAgainAndAddObservers) {
    const auto starter = std::make_shared<int>();
    center.addObserver(
        starter,
        [&](const NSNotification&) {
            center.addObserver(observer, &Observer::note, nullptr, nullptr);
            center.postNotificationName("Second", nullptr);
        },
        "First", nullptr);
    center.postNotificationName("First", nullptr);
    EXPECT_THAT(observer->names, ElementsAre("Second"));
}

TEST_F(NSNotificationCenterTest, ANotificationFromAnotherThreadArrivesOnTheRunLoopOfItsObject) {
    const auto loop = NSRunLoop::currentRunLoop();
    center.addObserver(observer, &Observer::note, "A", movie);
    std::thread([&] { center.postNotificationName("A", movie, nullptr, loop); }).join();
    EXPECT_THAT(observer->names, IsEmpty());
    EXPECT_EQ(loop->runOnce(), 1u);
    EXPECT_THAT(observer->names, ElementsAre("A"));
    EXPECT_EQ(observer->lastThread, std::this_thread::get_id());
}

TEST_F(NSNotificationCenterTest, OnTheObjectsOwnThreadANotificationArrivesAtOnce) {
    center.addObserver(observer, &Observer::note, "A", movie);
    center.postNotificationName("A", movie, nullptr, NSRunLoop::currentRunLoop());
    EXPECT_THAT(observer->names, ElementsAre("A"));
}

TEST_F(NSNotificationCenterTest, NobodyIsToldOfAnObjectThatHasGoneOnTheWay) {
    const auto loop = NSRunLoop::currentRunLoop();
    center.addObserver(observer, &Observer::note, "A", nullptr);
    std::thread([&] {
        center.postNotificationName("A", movie, nullptr, loop);
        center.postNotificationName("A", nullptr, nullptr, loop);
    }).join();
    movie.reset();
    EXPECT_EQ(loop->runOnce(), 2u);
    EXPECT_EQ(observer->names.size(), 1u);
    EXPECT_EQ(observer->lastObject, nullptr);
}

TEST_F(NSNotificationCenterTest, ThreadsMayAddRemoveAndPostAtOnce) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                const auto own = std::make_shared<Observer>();
                center.addObserver(own, &Observer::note, "A", own);
                center.postNotificationName("A", own);
                center.removeObserver(own);
                center.postNotificationName("A", own);
                EXPECT_EQ(own->names.size(), 1u);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(NSNotificationCenter, HasADefaultOne) {
    EXPECT_EQ(&NSNotificationCenter::defaultCenter(), &NSNotificationCenter::defaultCenter());
}

}  // namespace
}  // namespace TWQuickTime
