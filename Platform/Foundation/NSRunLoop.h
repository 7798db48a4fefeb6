// The run loop of a thread: it calls methods after a delay and runs blocks that other threads post.
//
// Whoever owns the thread drives it: by run…() where nothing else loops, or, inside another
// loop (Qt, GLib, poll), by watching fileDescriptor() for input and calling runOnce() when there is
// some. Deadlines are kept in nanoseconds of the steady clock.
//
//     auto loop = NSRunLoop::currentRunLoop();
//     loop->performSelector(player, "TW_updateUserInterface", &Player::TW_updateUserInterface,
//     0.05,
//                           {NSRunLoopCommonModes});
//     while (player->isPlaying()) loop->runOnce(0.1);
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <thread>

#include "NSString.h"
#include "RunLoopClock.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// The mode in which a loop runs unless its owner names another.
inline constexpr const char* NSDefaultRunLoopMode = "NSDefaultRunLoopMode";
/// Modes of menus, mouse tracking and modal dialogs; both count as common.
inline constexpr const char* NSEventTrackingRunLoopMode = "NSEventTrackingRunLoopMode";
inline constexpr const char* NSModalPanelRunLoopMode = "NSModalPanelRunLoopMode";
/// Stands for all common modes: the three above and those that addCommonMode adds.
inline constexpr const char* NSRunLoopCommonModes = "NSRunLoopCommonModes";

/// Unless a call says otherwise it belongs to the loop's own thread.
struct DelayedPerform;
struct RunLoopOfThread;

class TWQT_EXPORT NSRunLoop : public std::enable_shared_from_this<NSRunLoop> {
  public:
    /// The calling thread's loop, made when it is first asked for. It goes with its thread: what is
    /// pending then is dropped, and whoever still holds the loop holds a closed one that takes
    /// nothing.
    static std::shared_ptr<NSRunLoop> currentRunLoop();
    ~NSRunLoop();
    NSRunLoop(const NSRunLoop&) = delete;
    NSRunLoop& operator=(const NSRunLoop&) = delete;

    using Modes = std::initializer_list<NSString>;
    static constexpr double forever = std::numeric_limits<double>::infinity();

    /// Calls a method once, after a delay. The target is not kept alive: when it has gone, the
    /// perform has gone. It is kept alive while its method runs. Any thread; the delay counts from
    /// the call.       (performSelector:withObject:afterDelay:inModes:)
    /// @param selector    the method's name, for cancelling and for messages
    /// @param afterDelay  seconds; at 0 or below the method is called in the loop's next pass
    /// @param inModes     in which of the loop's modes it may be called
    template <class Target, class Class>
    void performSelector(const std::shared_ptr<Target>& target, const NSString& selector,
                         void (Class::*method)(), double afterDelay,
                         Modes inModes = {NSDefaultRunLoopMode}) {
        performSelector(target, selector, std::function<void(void*)>([method](void* object) {
                            (static_cast<Target*>(object)->*method)();
                        }),
                        afterDelay, inModes);
    }
    /// The same for any function; it is given the target's address.
    void performSelector(const std::shared_ptr<void>& target, const NSString& selector,
                         std::function<void(void* target)> method, double afterDelay,
                         Modes inModes = {NSDefaultRunLoopMode});

    /// Forgets what is still to be performed for the target: all of it, or one selector. Works in
    /// the target's destructor too (by weak_from_this()). Any thread; from another one it takes
    /// effect before the loop's next pass.
    /// (cancelPreviousPerformRequestsWithTarget:, …WithTarget:selector:object:)
    void cancelPreviousPerformRequestsWithTarget(const std::weak_ptr<void>& target);
    void cancelPreviousPerformRequestsWithTarget(const std::weak_ptr<void>& target,
                                                 const NSString& selector);

    /// Runs the block in the loop's next pass, whatever the mode. Any thread.       (performBlock:)
    /// @return false when the loop is closed; the block is then dropped
    bool performBlock(std::function<void()> block);
    /// Makes a waiting runOnce return. Any thread.
    void wakeUp();

    /// One pass in the default mode, or another one: runs the posted blocks and performs everything
    /// that is due in the mode, by deadline; what these schedule comes at the earliest in the next
    /// pass. When there is nothing, waits for it up to the limit. A std::exception out of a method
    /// is logged and goes no further.
    /// @param limitInSeconds  0 does not wait; forever waits until there is something, or wakeUp
    /// @return how many blocks and methods it called
    std::size_t runOnce(double limitInSeconds = 0);
    std::size_t runOnce(double limitInSeconds, const NSString& inMode);
    /// Runs passes until the condition, asked after each, holds.
    /// @return whether it held before the limit
    bool runUntil(const std::function<bool()>& condition, double limitInSeconds = forever,
                  const NSString& inMode = NSDefaultRunLoopMode);

    /// Readable when runOnce() in the mode last run in (at first the default mode) would find
    /// something. Owned by the loop; -1 when the system has no descriptor left.
    int fileDescriptor() const noexcept;
    /// Seconds until the next perform of the default mode is due, 0 when one is, forever when there
    /// is none: for loops that want a timeout rather than a descriptor.
    double secondsUntilNextPerform() const;

    void addCommonMode(const NSString& mode);
    /// Moves pending performs over with the delays that they have left; null for the steady clock.
    void setClock(std::shared_ptr<RunLoopClock> clock);
    const std::shared_ptr<RunLoopClock>& clock() const noexcept;
    /// Any thread.
    bool isOnItsThread() const noexcept;

  private:
    friend class ManualClock;
    friend struct RunLoopOfThread;
    struct State;

    NSRunLoop();
    static std::shared_ptr<NSRunLoop> closedLoop();
    void close();
    std::size_t runOnceInModes(double limitInSeconds, std::uint64_t modes);
    std::size_t runPass(std::uint64_t modes);
    std::size_t runBlocks();
    bool takeWakeUp();
    void armTimer();
    void waitForInput(std::int64_t limitInNanoseconds);
    void schedule(std::int64_t deadline, DelayedPerform perform);
    std::optional<std::int64_t> deadlineAfter(std::int64_t time) const;

    /// Nobody's once the loop is closed.
    std::atomic<std::thread::id> thread_ = std::this_thread::get_id();
    std::unique_ptr<State> state_;
};

}  // namespace TWQuickTime
