#include "NSRunLoop.h"

#include <gmock/gmock.h>
#include <poll.h>

#include <future>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "LogCapture.h"
#include "NSException.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Writes down what is performed on it.
class Diary : public std::enable_shared_from_this<Diary> {
  public:
    void a() { entries.emplace_back("a"); }
    void b() { entries.emplace_back("b"); }
    void c() { entries.emplace_back("c"); }

    void tick() {
        entries.push_back("tick at " + std::to_string(milliseconds()));
        NSRunLoop::currentRunLoop()->performSelector(shared_from_this(), "tick", &Diary::tick,
                                                     0.02);
    }
    void tickWithoutDelay() {
        entries.push_back("tick at " + std::to_string(milliseconds()));
        NSRunLoop::currentRunLoop()->performSelector(shared_from_this(), "tickWithoutDelay",
                                                     &Diary::tickWithoutDelay, 0);
    }
    void cancelAll() {
        entries.emplace_back("cancelAll");
        NSRunLoop::currentRunLoop()->cancelPreviousPerformRequestsWithTarget(weak_from_this());
    }

    std::vector<std::string> entries;

  private:
    static std::int64_t milliseconds() {
        return NSRunLoop::currentRunLoop()->clock()->nowInNanoseconds() / 1'000'000;
    }
};

class DerivedDiary : public Diary {};

/// The thread's loop on a clock that the test moves, from 1 s on.
class NSRunLoopByHand : public testing::Test {
  protected:
    NSRunLoopByHand() { loop->setClock(clock); }
    ~NSRunLoopByHand() override {
        loop->cancelPreviousPerformRequestsWithTarget(diary);
        loop->setClock(nullptr);
    }

    void perform(void (Diary::*method)(), const char* selector, double afterDelay,
                 NSRunLoop::Modes modes = {NSDefaultRunLoopMode}) {
        loop->performSelector(diary, selector, method, afterDelay, modes);
    }

    std::shared_ptr<NSRunLoop> loop = NSRunLoop::currentRunLoop();
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    std::shared_ptr<Diary> diary = std::make_shared<Diary>();
};

TEST_F(NSRunLoopByHand, PerformsOnceWhenTheDelayIsOver) {
    perform(&Diary::a, "a", 0.5);
    EXPECT_EQ(loop->secondsUntilNextPerform(), 0.5);
    clock->advance(0.4999);
    EXPECT_THAT(diary->entries, IsEmpty());
    clock->advance(0.0001);
    EXPECT_THAT(diary->entries, ElementsAre("a"));
    clock->advance(10);
    EXPECT_THAT(diary->entries, ElementsAre("a"));
    EXPECT_EQ(loop->secondsUntilNextPerform(), NSRunLoop::forever);
}

TEST_F(NSRunLoopByHand, PerformsByDeadlineAndInTheOrderOfAskingAmongEqualOnes) {
    perform(&Diary::c, "c", 0.3);
    perform(&Diary::a, "a", 0.1);
    perform(&Diary::b, "b", 0.3);
    perform(&Diary::a, "a", 0.2);
    clock->advance(1);
    EXPECT_THAT(diary->entries, ElementsAre("a", "a", "c", "b"));
}

TEST_F(NSRunLoopByHand, AMethodMayScheduleItselfAgain) {
    perform(&Diary::tick, "tick", 0.02);
    clock->advance(0.07);
    EXPECT_THAT(diary->entries, ElementsAre("tick at 1020", "tick at 1040", "tick at 1060"));
    clock->advance(0.01);
    EXPECT_EQ(diary->entries.size(), 4u);
}

TEST_F(NSRunLoopByHand, AnHourOfPerformsPassesAtOnce) {
    perform(&Diary::tick, "tick", 0.02);
    clock->advance(3600);
    EXPECT_EQ(diary->entries.size(), 180000u);
    EXPECT_EQ(diary->entries.back(), "tick at 3601000");
}

TEST_F(NSRunLoopByHand, WithoutADelayAMethodWaitsForTheNextPass) {
    perform(&Diary::tickWithoutDelay, "tickWithoutDelay", 0);
    EXPECT_THAT(diary->entries, IsEmpty());
    EXPECT_EQ(loop->secondsUntilNextPerform(), 0);
    EXPECT_EQ(loop->runOnce(), 1u);
    EXPECT_EQ(diary->entries.size(), 1u);
    EXPECT_EQ(loop->runOnce(), 1u);
    EXPECT_EQ(diary->entries.size(), 2u);
}

TEST_F(NSRunLoopByHand, AMethodThatReschedulesItselfWithoutDelayDoesNotHoldTheClock) {
    perform(&Diary::tickWithoutDelay, "tickWithoutDelay", 0);
    perform(&Diary::a, "a", 0.5);
    clock->advance(1);
    EXPECT_THAT(diary->entries, ElementsAre("tick at 1000", "tick at 1500", "a", "tick at 2000"));
}

TEST_F(NSRunLoopByHand, DelaysBelowZeroAndNoNumbersCountAsNone) {
    perform(&Diary::a, "a", -5);
    perform(&Diary::b, "b", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(loop->runOnce(), 2u);
    EXPECT_THAT(diary->entries, ElementsAre("a", "b"));
}

TEST_F(NSRunLoopByHand, AnEndlessDelayNeverComes) {
    perform(&Diary::a, "a", NSRunLoop::forever);
    clock->advance(1e9);
    EXPECT_THAT(diary->entries, IsEmpty());
}

TEST_F(NSRunLoopByHand, CancelByTargetForgetsAllOfItAndNothingElse) {
    const auto other = std::make_shared<Diary>();
    perform(&Diary::a, "a", 0.1);
    perform(&Diary::b, "b", 0.2);
    loop->performSelector(other, "c", &Diary::c, 0.1);
    loop->cancelPreviousPerformRequestsWithTarget(diary);
    clock->advance(1);
    EXPECT_THAT(diary->entries, IsEmpty());
    EXPECT_THAT(other->entries, ElementsAre("c"));
}

TEST_F(NSRunLoopByHand, CancelBySelectorForgetsThatOneOnly) {
    perform(&Diary::a, "a", 0.1);
    perform(&Diary::b, "b", 0.2);
    perform(&Diary::a, "a", 0.3);
    loop->cancelPreviousPerformRequestsWithTarget(diary, "a");
    clock->advance(1);
    EXPECT_THAT(diary->entries, ElementsAre("b"));
}

TEST_F(NSRunLoopByHand, CancellingInsideAPerformReachesWhatIsDueInTheSamePass) {
    perform(&Diary::cancelAll, "cancelAll", 0.1);
    perform(&Diary::a, "a", 0.1);
    perform(&Diary::b, "b", 0.2);
    clock->advance(1);
    EXPECT_THAT(diary->entries, ElementsAre("cancelAll"));
}

TEST_F(NSRunLoopByHand, ATargetThatHasGoneLosesItsPerforms) {
    perform(&Diary::a, "a", 0.1);
    const std::weak_ptr<Diary> observed = diary;
    diary.reset();
    EXPECT_TRUE(observed.expired());
    clock->advance(1);
    EXPECT_EQ(loop->runOnce(), 0u);
}

class CancelsInItsDestructor : public std::enable_shared_from_this<CancelsInItsDestructor> {
  public:
    explicit CancelsInItsDestructor(std::shared_ptr<NSRunLoop> loop) : loop_(std::move(loop)) {}
    ~CancelsInItsDestructor() { loop_->cancelPreviousPerformRequestsWithTarget(weak_from_this()); }
    void method() {}

  private:
    std::shared_ptr<NSRunLoop> loop_;
};

TEST_F(NSRunLoopByHand, ATargetMayCancelInItsDestructor) {
    auto target = std::make_shared<CancelsInItsDestructor>(loop);
    loop->performSelector(target, "method", &CancelsInItsDestructor::method, 5);
    EXPECT_EQ(loop->secondsUntilNextPerform(), 5);
    target.reset();
    EXPECT_EQ(loop->secondsUntilNextPerform(), NSRunLoop::forever);
}

TEST_F(NSRunLoopByHand, ATargetLivesWhileItsMethodRuns) {
    auto holder = std::make_shared<std::shared_ptr<Diary>>(std::make_shared<Diary>());
    bool livedOn = false;
    loop->performSelector(
        std::shared_ptr<void>(*holder), "drop",
        [holder, &livedOn](void*) {
            const std::weak_ptr<Diary> observed = *holder;
            holder->reset();
            livedOn = !observed.expired();
        },
        0);
    loop->runOnce();
    EXPECT_TRUE(livedOn);
}

TEST_F(NSRunLoopByHand, MethodsOfABaseClassArePerformedOnTheDerivedObject) {
    const auto derived = std::make_shared<DerivedDiary>();
    loop->performSelector(derived, "a", &Diary::a, 0);
    loop->runOnce();
    EXPECT_THAT(derived->entries, ElementsAre("a"));
}

TEST_F(NSRunLoopByHand, CommonModesFireInEveryCommonModeAndOthersOnlyInTheirOwn) {
    perform(&Diary::a, "a", 0, {NSRunLoopCommonModes});
    EXPECT_EQ(loop->runOnce(0, NSEventTrackingRunLoopMode), 1u);
    perform(&Diary::a, "a", 0, {NSRunLoopCommonModes});
    EXPECT_EQ(loop->runOnce(0, NSModalPanelRunLoopMode), 1u);
    perform(&Diary::a, "a", 0, {NSRunLoopCommonModes});
    EXPECT_EQ(loop->runOnce(0, "MyOwnMode"), 0u);
    EXPECT_EQ(loop->runOnce(), 1u);

    perform(&Diary::b, "b", 0);
    EXPECT_EQ(loop->runOnce(0, NSEventTrackingRunLoopMode), 0u);
    EXPECT_EQ(loop->runOnce(0, NSRunLoopCommonModes), 1u);

    perform(&Diary::c, "c", 0, {"MyOwnMode", NSModalPanelRunLoopMode});
    EXPECT_EQ(loop->runOnce(), 0u);
    EXPECT_EQ(loop->runOnce(0, "MyOwnMode"), 1u);
}

TEST_F(NSRunLoopByHand, AModeMayBeMadeCommon) {
    loop->addCommonMode("MyCommonMode");
    perform(&Diary::a, "a", 0, {NSRunLoopCommonModes});
    EXPECT_EQ(loop->runOnce(0, "MyCommonMode"), 1u);
}

TEST_F(NSRunLoopByHand, TooManyModesRaise) {
    std::thread([] {
        const auto fresh = NSRunLoop::currentRunLoop();
        for (int mode = 0; mode < 60; ++mode)
            fresh->runOnce(0, "mode " + std::to_string(mode));
        EXPECT_THROW(fresh->runOnce(0, "one too many"), NSException);
        EXPECT_NO_THROW(fresh->runOnce(0, "mode 59"));
    }).join();
}

TEST_F(NSRunLoopByHand, ARunInsideAMethodPerformsWhatIsDueInItsMode) {
    loop->performSelector(
        std::shared_ptr<void>(diary), "modal",
        [this](void*) {
            diary->entries.emplace_back("modal begins");
            EXPECT_EQ(loop->runOnce(0, NSModalPanelRunLoopMode), 1u);
            diary->entries.emplace_back("modal ends");
        },
        0);
    perform(&Diary::a, "a", 0, {NSRunLoopCommonModes});
    perform(&Diary::b, "b", 0);
    EXPECT_EQ(loop->runOnce(), 2u);
    EXPECT_THAT(diary->entries, ElementsAre("modal begins", "a", "modal ends", "b"));
}

TEST_F(NSRunLoopByHand, AnExceptionIsLoggedAndTheOtherPerformsGoOn) {
    const test::LogCapture log;
    loop->performSelector(
        std::shared_ptr<void>(diary), "fails",
        [](void*) { throw NSException("Trouble", "of the method"); }, 0);
    perform(&Diary::a, "a", 0);
    loop->performBlock([] { throw std::runtime_error("of the block"); });
    EXPECT_EQ(loop->runOnce(), 3u);
    EXPECT_THAT(diary->entries, ElementsAre("a"));
    EXPECT_THAT(log.lines(),
                ElementsAre("NSRunLoop: ignored an exception in a posted block: of the block",
                            "NSRunLoop: ignored an exception in fails: Trouble: of the method"));
}

TEST_F(NSRunLoopByHand, ANewClockKeepsTheDelaysThatAreLeft) {
    perform(&Diary::a, "a", 2);
    clock->advance(0.5);
    const auto later = std::make_shared<ManualClock>(1000);
    loop->setClock(later);
    EXPECT_EQ(loop->secondsUntilNextPerform(), 1.5);
    clock->advance(100);
    EXPECT_THAT(diary->entries, IsEmpty());
    later->advance(1.5);
    EXPECT_THAT(diary->entries, ElementsAre("a"));
}

TEST_F(NSRunLoopByHand, NothingIsPerformedWithoutTargetOrMethod) {
    loop->performSelector(
        std::shared_ptr<void>(), "a", [](void*) { FAIL(); }, 0);
    loop->performSelector(std::shared_ptr<void>(diary), "a", std::function<void(void*)>(), 0);
    EXPECT_FALSE(loop->performBlock(nullptr));
    EXPECT_EQ(loop->runOnce(), 0u);
}

TEST_F(NSRunLoopByHand, PerformsOfTargetsThatHaveGoneDoNotPileUp) {
    auto released = std::make_shared<int>(0);
    for (int round = 0; round < 1000; ++round)
        loop->performSelector(
            std::make_shared<int>(1), "never", [released](void*) { FAIL(); }, 1e6);
    EXPECT_LT(released.use_count(), 200);
}

bool isReadable(int descriptor, int limitInMilliseconds) {
    pollfd watched{descriptor, POLLIN, 0};
    return poll(&watched, 1, limitInMilliseconds) == 1;
}

TEST(NSRunLoop, EveryThreadHasItsOwn) {
    const auto mine = NSRunLoop::currentRunLoop();
    EXPECT_EQ(NSRunLoop::currentRunLoop(), mine);
    EXPECT_TRUE(mine->isOnItsThread());
    std::thread([&] {
        EXPECT_NE(NSRunLoop::currentRunLoop(), mine);
        EXPECT_FALSE(mine->isOnItsThread());
        EXPECT_EQ(mine->runOnce(), 0u);
    }).join();
}

TEST(NSRunLoop, WaitsForADeadlineOfTheSteadyClock) {
    const auto loop = NSRunLoop::currentRunLoop();
    const auto diary = std::make_shared<Diary>();
    const double start = loop->clock()->nowInSeconds();
    loop->performSelector(diary, "a", &Diary::a, 0.01);
    EXPECT_EQ(loop->runOnce(NSRunLoop::forever), 1u);
    EXPECT_GE(loop->clock()->nowInSeconds() - start, 0.01);
    EXPECT_THAT(diary->entries, ElementsAre("a"));
}

TEST(NSRunLoop, WaitsNoLongerThanItsLimit) {
    const auto loop = NSRunLoop::currentRunLoop();
    const auto diary = std::make_shared<Diary>();
    loop->performSelector(diary, "a", &Diary::a, 1000);
    EXPECT_EQ(loop->runOnce(0.001), 0u);
    EXPECT_FALSE(loop->runUntil([] { return false; }, 0.001));
    loop->cancelPreviousPerformRequestsWithTarget(diary);
}

TEST(NSRunLoop, RunsUntilAConditionHolds) {
    const auto loop = NSRunLoop::currentRunLoop();
    const auto diary = std::make_shared<Diary>();
    loop->performSelector(diary, "tick", &Diary::tickWithoutDelay, 0);
    EXPECT_TRUE(loop->runUntil([&] { return diary->entries.size() >= 3; }));
    EXPECT_TRUE(loop->runUntil([] { return true; }, 0));
    loop->cancelPreviousPerformRequestsWithTarget(diary);
}

TEST(NSRunLoop, ItsDescriptorIsReadableExactlyWhenThereIsSomethingToDo) {
    const auto loop = NSRunLoop::currentRunLoop();
    const auto diary = std::make_shared<Diary>();
    const int descriptor = loop->fileDescriptor();
    ASSERT_GE(descriptor, 0);
    EXPECT_FALSE(isReadable(descriptor, 0));

    loop->performSelector(diary, "a", &Diary::a, 0.001);
    EXPECT_TRUE(isReadable(descriptor, 10000));
    EXPECT_EQ(loop->runOnce(), 1u);
    EXPECT_FALSE(isReadable(descriptor, 0));

    loop->performSelector(diary, "a", &Diary::a, 0);
    EXPECT_TRUE(isReadable(descriptor, 10000));
    loop->cancelPreviousPerformRequestsWithTarget(diary);
    EXPECT_FALSE(isReadable(descriptor, 0));

    loop->performBlock([] {});
    EXPECT_TRUE(isReadable(descriptor, 0));
    EXPECT_EQ(loop->runOnce(), 1u);
    EXPECT_FALSE(isReadable(descriptor, 0));

    loop->performSelector(diary, "a", &Diary::a, 0, {"ModeThatNobodyRuns"});
    EXPECT_EQ(loop->runOnce(), 0u);
    EXPECT_FALSE(isReadable(descriptor, 0));
    loop->cancelPreviousPerformRequestsWithTarget(diary);
}

TEST(NSRunLoop, ABlockOfAnotherThreadWakesItAndRunsOnItsThread) {
    const auto loop = NSRunLoop::currentRunLoop();
    std::thread::id ranOn;
    std::thread other(
        [&] { EXPECT_TRUE(loop->performBlock([&] { ranOn = std::this_thread::get_id(); })); });
    EXPECT_EQ(loop->runOnce(NSRunLoop::forever), 1u);
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    other.join();
}

TEST(NSRunLoop, WakeUpEndsAWait) {
    const auto loop = NSRunLoop::currentRunLoop();
    std::thread other([&] { loop->wakeUp(); });
    EXPECT_EQ(loop->runOnce(NSRunLoop::forever), 0u);
    other.join();
    EXPECT_FALSE(isReadable(loop->fileDescriptor(), 0));
}

TEST(NSRunLoop, PerformsAskedForAndCancelledOnAnotherThreadHappenOnItsOwn) {
    const auto loop = NSRunLoop::currentRunLoop();
    const auto diary = std::make_shared<Diary>();
    std::thread([&] {
        loop->performSelector(diary, "a", &Diary::a, 0);
        loop->performSelector(diary, "b", &Diary::b, 0);
        loop->performSelector(diary, "c", &Diary::c, 0);
        loop->cancelPreviousPerformRequestsWithTarget(diary, "b");
    }).join();
    EXPECT_TRUE(loop->runUntil([&] { return diary->entries.size() == 2; }, 10));
    EXPECT_THAT(diary->entries, ElementsAre("a", "c"));
    loop->performSelector(diary, "a", &Diary::a, 1000);
    std::thread([&] { loop->cancelPreviousPerformRequestsWithTarget(diary); }).join();
    loop->runOnce();
    EXPECT_EQ(loop->secondsUntilNextPerform(), NSRunLoop::forever);
}

TEST(NSRunLoop, ManyThreadsMayPostAtOnce) {
    const auto loop = NSRunLoop::currentRunLoop();
    constexpr int threadCount = 4, blocksPerThread = 500;
    int done = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([&] {
            for (int block = 0; block < blocksPerThread; ++block)
                loop->performBlock([&] { ++done; });
        });
    EXPECT_TRUE(loop->runUntil([&] { return done == threadCount * blocksPerThread; }, 60));
    for (std::thread& thread : threads)
        thread.join();
    loop->runOnce();
    EXPECT_FALSE(isReadable(loop->fileDescriptor(), 0));
}

TEST(NSRunLoop, WhenItsThreadHasEndedItIsClosedAndHasDroppedWhatWasPending) {
    std::shared_ptr<NSRunLoop> loop;
    const auto diary = std::make_shared<Diary>();
    const auto held = std::make_shared<int>(1);
    std::thread([&] {
        loop = NSRunLoop::currentRunLoop();
        loop->performBlock([held] {});
        loop->performSelector(
            std::shared_ptr<void>(diary), "a", [held](void*) {}, 1000);
    }).join();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_FALSE(loop->isOnItsThread());
    EXPECT_FALSE(loop->performBlock([held] {}));
    loop->performSelector(
        std::shared_ptr<void>(diary), "a", [held](void*) {}, 0);
    loop->cancelPreviousPerformRequestsWithTarget(diary);
    EXPECT_EQ(loop->runOnce(), 0u);
    EXPECT_FALSE(loop->runUntil([] { return false; }, 0.001));
    EXPECT_EQ(held.use_count(), 1);
}

struct AsksForTheLoopWhenTheThreadEnds {
    ~AsksForTheLoopWhenTheThreadEnds() {
        const auto loop = NSRunLoop::currentRunLoop();
        *tookABlock = loop->performBlock([] {});
    }
    bool* tookABlock = nullptr;
};

TEST(NSRunLoop, AnObjectThatOutlivesTheLoopOfItsThreadGetsAClosedOne) {
    bool tookABlock = true;
    std::thread([&] {
        // Made before the loop, so destroyed after it.
        thread_local AsksForTheLoopWhenTheThreadEnds late;
        late.tookABlock = &tookABlock;
        NSRunLoop::currentRunLoop();
    }).join();
    EXPECT_FALSE(tookABlock);
}

TEST(NSRunLoop, ASleepOnAManualClockMovesTheTimeAndRunsNothing) {
    const auto loop = NSRunLoop::currentRunLoop();
    const auto clock = std::make_shared<ManualClock>();
    loop->setClock(clock);
    int performs = 0;
    const auto target = std::make_shared<int>(0);
    loop->performSelector(
        target, "count", [&](void*) { ++performs; }, 0.5);
    const double before = clock->nowInSeconds();
    clock->sleepForSeconds(1);
    clock->sleepForSeconds(-1);
    EXPECT_EQ(clock->nowInSeconds(), before + 1);
    EXPECT_EQ(performs, 0);
    loop->runOnce();
    EXPECT_EQ(performs, 1);
    loop->setClock(nullptr);
}

TEST(NSRunLoop, ASleepOnTheSteadyClockTakesItsTime) {
    RunLoopClock& clock = *RunLoopClock::steadyClock();
    const std::int64_t before = clock.nowInNanoseconds();
    clock.sleepForSeconds(0.002);
    EXPECT_GE(clock.nowInNanoseconds() - before, 2'000'000);
}

TEST(NSRunLoop, AManualClockWakesTheLoopsOfOtherThreads) {
    const auto clock = std::make_shared<ManualClock>();
    std::promise<void> scheduled;
    std::thread other([&] {
        const auto loop = NSRunLoop::currentRunLoop();
        loop->setClock(clock);
        const auto diary = std::make_shared<Diary>();
        loop->performSelector(diary, "a", &Diary::a, 3600);
        scheduled.set_value();
        EXPECT_TRUE(loop->runUntil([&] { return !diary->entries.empty(); }, 60));
    });
    scheduled.get_future().wait();
    clock->advance(3600);
    other.join();
}

}  // namespace
}  // namespace TWQuickTime
