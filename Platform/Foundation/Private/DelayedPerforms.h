// What a run loop has still to perform, by deadline and, among equal ones, in the order of asking.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "NSString.h"

namespace TWQuickTime {

struct DelayedPerform {
    std::weak_ptr<void> target;
    NSString selector;
    std::function<void(void* target)> method;
    /// One bit for each mode of the loop in which it may be performed.
    std::uint64_t modes = 0;
};

class DelayedPerforms {
  public:
    void add(std::int64_t deadline, DelayedPerform perform);

    /// Performs added from now on have this sequence number or a higher one.
    std::uint64_t nextSequence() const noexcept { return nextSequence_; }

    /// The earliest deadline after the given time, of performs that share a mode.
    std::optional<std::int64_t> earliestDeadline(std::uint64_t modes, std::int64_t after) const;

    /// Takes out the first perform that shares a mode, is due, and has a lower sequence number than
    /// the limit.
    std::optional<DelayedPerform> takeDue(std::uint64_t modes, std::int64_t now,
                                          std::uint64_t sequenceLimit);

    void removeAllOf(const std::weak_ptr<void>& target);
    void removeAllOf(const std::weak_ptr<void>& target, const NSString& selector);
    /// Moves every deadline, as far as the range of time goes.
    void shiftDeadlines(std::int64_t nanoseconds);

  private:
    template <class Condition>
    void removeWhere(Condition condition);

    using Key = std::pair<std::int64_t, std::uint64_t>;
    std::map<Key, DelayedPerform> byDeadline_;
    std::uint64_t nextSequence_ = 0;
    /// At this many, those whose targets have gone are cleared away.
    std::size_t clearingSize_ = 64;
};

}  // namespace TWQuickTime
