#include "NSRunLoop.h"

#include <deque>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

#include "NSLog.h"
#include "Private/DelayedPerforms.h"
#include "Private/LoopDescriptor.h"
#include "Private/Nanoseconds.h"
#include "Private/RunLoopModes.h"

namespace TWQuickTime {

/// A thread's loop, closed when the thread ends.
struct RunLoopOfThread {
    RunLoopOfThread() : loop(new NSRunLoop) {}
    ~RunLoopOfThread();

    std::shared_ptr<NSRunLoop> loop;
};

namespace {

/// Needs no destruction, so that it still answers while other objects of the thread are destroyed.
thread_local bool threadHasLostItsLoop = false;

/// Calls something of the host's; what it throws is logged, as the loop cannot answer it.
template <class Call>
void callLogged(const NSString& selector, Call call) {
    try {
        call();
    } catch (const std::exception& exception) {
        NSLog("NSRunLoop: ignored an exception in %@: %s", selector, exception.what());
    }
}

}  // namespace

RunLoopOfThread::~RunLoopOfThread() {
    threadHasLostItsLoop = true;
    loop->close();
}

struct NSRunLoop::State {
    LoopDescriptor descriptor;
    std::shared_ptr<RunLoopClock> clock = RunLoopClock::steadyClock();
    DelayedPerforms performs;
    RunLoopModes modes;
    const std::uint64_t defaultModes = modes.modesOfRun(NSDefaultRunLoopMode);
    /// Modes of the run that goes on, or of the last one.
    std::uint64_t currentModes = defaultModes;
    int nestedPasses = 0;

    // Shared with other threads, under the mutex; the clock too is replaced under it.
    std::mutex mutex;
    std::deque<std::function<void()>> blocks;
    bool isClosed = false;
    std::atomic<bool> hasBlocks = false;
    std::atomic<bool> wakeUpIsPending = false;
};

NSRunLoop::NSRunLoop() : state_(std::make_unique<State>()) {}

NSRunLoop::~NSRunLoop() = default;

std::shared_ptr<NSRunLoop> NSRunLoop::currentRunLoop() {
    if (threadHasLostItsLoop)
        return closedLoop();
    thread_local RunLoopOfThread ofThisThread;
    return ofThisThread.loop;
}

std::shared_ptr<NSRunLoop> NSRunLoop::closedLoop() {
    static const auto& loop = *[] {
        auto* closed = new std::shared_ptr<NSRunLoop>(new NSRunLoop);
        (*closed)->close();
        return closed;
    }();
    return loop;
}

void NSRunLoop::close() {
    std::deque<std::function<void()>> droppedBlocks;
    {
        std::lock_guard lock(state_->mutex);
        state_->isClosed = true;
        droppedBlocks.swap(state_->blocks);
        state_->hasBlocks = false;
        thread_ = std::thread::id();
    }
    const DelayedPerforms droppedPerforms = std::exchange(state_->performs, DelayedPerforms());
}

bool NSRunLoop::isOnItsThread() const noexcept {
    return thread_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void NSRunLoop::performSelector(const std::shared_ptr<void>& target, const NSString& selector,
                                std::function<void(void* target)> method, double afterDelay,
                                Modes inModes) {
    if (!target || !method)
        return;
    DelayedPerform perform{target, selector, std::move(method), 0};
    const std::int64_t delay = nanosecondsFromSeconds(afterDelay);
    if (isOnItsThread()) {
        perform.modes = state_->modes.modesOfPerform(inModes);
        schedule(sumWithinRange(state_->clock->nowInNanoseconds(), delay), std::move(perform));
        return;
    }
    std::int64_t now = 0;
    {
        std::lock_guard lock(state_->mutex);
        now = state_->clock->nowInNanoseconds();
    }
    performBlock([this, deadline = sumWithinRange(now, delay), perform = std::move(perform),
                  modes = std::vector<NSString>(inModes)]() mutable {
        perform.modes = state_->modes.modesOfPerform(modes);
        schedule(deadline, std::move(perform));
    });
}

void NSRunLoop::schedule(std::int64_t deadline, DelayedPerform perform) {
    state_->performs.add(deadline, std::move(perform));
    armTimer();
}

void NSRunLoop::cancelPreviousPerformRequestsWithTarget(const std::weak_ptr<void>& target) {
    if (!isOnItsThread()) {
        performBlock([this, target] { state_->performs.removeAllOf(target); });
        return;
    }
    state_->performs.removeAllOf(target);
    armTimer();
}

void NSRunLoop::cancelPreviousPerformRequestsWithTarget(const std::weak_ptr<void>& target,
                                                        const NSString& selector) {
    if (!isOnItsThread()) {
        performBlock([this, target, selector] { state_->performs.removeAllOf(target, selector); });
        return;
    }
    state_->performs.removeAllOf(target, selector);
    armTimer();
}

bool NSRunLoop::performBlock(std::function<void()> block) {
    if (!block)
        return false;
    {
        std::lock_guard lock(state_->mutex);
        if (state_->isClosed)
            return false;
        state_->blocks.push_back(std::move(block));
        state_->hasBlocks = true;
    }
    wakeUp();
    return true;
}

void NSRunLoop::wakeUp() {
    // Flag and signal change together, so that the descriptor is readable exactly while one of
    // them waits to be taken.
    std::lock_guard lock(state_->mutex);
    if (!state_->wakeUpIsPending.exchange(true))
        state_->descriptor.signal();
}

bool NSRunLoop::takeWakeUp() {
    if (!state_->wakeUpIsPending)
        return false;
    std::lock_guard lock(state_->mutex);
    state_->descriptor.clearSignal();
    return state_->wakeUpIsPending.exchange(false);
}

void NSRunLoop::armTimer() {
    // Inside a pass it is set once, when the pass ends.
    if (state_->nestedPasses > 0)
        return;
    state_->descriptor.setDeadline(
        state_->clock->isSteadyClock()
            ? state_->performs.earliestDeadline(state_->currentModes, nanosecondsMinimum)
            : std::nullopt);
}

std::size_t NSRunLoop::runBlocks() {
    if (!state_->hasBlocks)
        return 0;
    std::size_t countAtStart = 0;
    {
        std::lock_guard lock(state_->mutex);
        countAtStart = state_->blocks.size();
    }
    std::size_t done = 0;
    for (; done < countAtStart; ++done) {
        std::function<void()> block;
        {
            std::lock_guard lock(state_->mutex);
            // A nested run may have taken the others.
            if (state_->blocks.empty())
                break;
            block = std::move(state_->blocks.front());
            state_->blocks.pop_front();
            state_->hasBlocks = !state_->blocks.empty();
        }
        callLogged("a posted block", block);
    }
    return done;
}

std::size_t NSRunLoop::runPass(std::uint64_t modes) {
    struct Nesting {
        explicit Nesting(int& passes) : passes_(passes) { ++passes_; }
        ~Nesting() { --passes_; }
        int& passes_;
    } const nesting(state_->nestedPasses);

    // What the pass itself schedules is left to the next one.
    const std::uint64_t sequenceLimit = state_->performs.nextSequence();
    std::size_t called = runBlocks();
    const std::int64_t now = state_->clock->nowInNanoseconds();
    while (auto due = state_->performs.takeDue(modes, now, sequenceLimit)) {
        if (const std::shared_ptr<void> target = due->target.lock()) {
            callLogged(due->selector, [&] { due->method(target.get()); });
            ++called;
        }
    }
    return called;
}

std::size_t NSRunLoop::runOnce(double limitInSeconds) {
    return isOnItsThread() ? runOnceInModes(limitInSeconds, state_->defaultModes) : 0;
}

std::size_t NSRunLoop::runOnce(double limitInSeconds, const NSString& inMode) {
    return isOnItsThread() ? runOnceInModes(limitInSeconds, state_->modes.modesOfRun(inMode)) : 0;
}

std::size_t NSRunLoop::runOnceInModes(double limitInSeconds, std::uint64_t modes) {
    // A run inside a method of another run gives that one its modes back.
    struct ModesOfRun {
        ModesOfRun(NSRunLoop& loop, std::uint64_t own)
            : loop_(loop), outer_(std::exchange(loop.state_->currentModes, own)) {}
        ~ModesOfRun() {
            if (loop_.state_->nestedPasses > 0)
                loop_.state_->currentModes = outer_;
            loop_.armTimer();
        }
        NSRunLoop& loop_;
        std::uint64_t outer_;
    } const run(*this, modes);

    const RunLoopClock& steady = *RunLoopClock::steadyClock();
    const std::int64_t limit = nanosecondsFromSeconds(limitInSeconds);
    const std::int64_t start = limit > 0 ? steady.nowInNanoseconds() : 0;
    for (;;) {
        const bool wasWoken = takeWakeUp();
        const std::size_t called = runPass(state_->currentModes);
        if (called > 0 || wasWoken || limit == 0)
            return called;
        const std::int64_t waited = steady.nowInNanoseconds() - start;
        if (waited >= limit)
            return 0;
        waitForInput(limit == nanosecondsMaximum ? limit : limit - waited);
    }
}

void NSRunLoop::waitForInput(std::int64_t limitInNanoseconds) {
    // A nested run waits too, with the timer set for its own modes.
    const int outerPasses = std::exchange(state_->nestedPasses, 0);
    armTimer();
    state_->nestedPasses = outerPasses;
    state_->descriptor.wait(limitInNanoseconds);
}

bool NSRunLoop::runUntil(const std::function<bool()>& condition, double limitInSeconds,
                         const NSString& inMode) {
    const RunLoopClock& steady = *RunLoopClock::steadyClock();
    const double start = steady.nowInSeconds();
    while (!condition()) {
        const double left = limitInSeconds - (steady.nowInSeconds() - start);
        if (!(left > 0) || !isOnItsThread())
            return false;
        runOnce(left, inMode);
    }
    return true;
}

int NSRunLoop::fileDescriptor() const noexcept {
    return state_->descriptor.get();
}

double NSRunLoop::secondsUntilNextPerform() const {
    if (state_->hasBlocks)
        return 0;
    const std::optional<std::int64_t> deadline =
        state_->performs.earliestDeadline(state_->defaultModes, nanosecondsMinimum);
    if (!deadline)
        return forever;
    const std::int64_t left = *deadline - state_->clock->nowInNanoseconds();
    return left > 0 ? static_cast<double>(left) * 1e-9 : 0;
}

std::optional<std::int64_t> NSRunLoop::deadlineAfter(std::int64_t time) const {
    return state_->performs.earliestDeadline(state_->defaultModes, time);
}

void NSRunLoop::addCommonMode(const NSString& mode) {
    state_->modes.addCommonMode(mode);
}

void NSRunLoop::setClock(std::shared_ptr<RunLoopClock> clock) {
    if (!clock)
        clock = RunLoopClock::steadyClock();
    state_->performs.shiftDeadlines(clock->nowInNanoseconds() - state_->clock->nowInNanoseconds());
    {
        std::lock_guard lock(state_->mutex);
        state_->clock = std::move(clock);
    }
    state_->clock->loopWasAttached(shared_from_this());
    armTimer();
}

const std::shared_ptr<RunLoopClock>& NSRunLoop::clock() const noexcept {
    return state_->clock;
}

}  // namespace TWQuickTime
