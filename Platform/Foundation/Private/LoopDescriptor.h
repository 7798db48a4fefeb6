// The one descriptor of a run loop: readable when a deadline has passed or the loop was woken.
#pragma once

#include <cstdint>
#include <optional>

namespace TWQuickTime {

/// Kernel objects that a loop waits on: a timer with nanosecond deadlines of CLOCK_MONOTONIC and an
/// event, both behind one epoll descriptor.
class LoopDescriptor {
  public:
    LoopDescriptor();
    ~LoopDescriptor();
    LoopDescriptor(const LoopDescriptor&) = delete;
    LoopDescriptor& operator=(const LoopDescriptor&) = delete;

    /// -1 when the system had no descriptor left.
    int get() const noexcept { return isComplete() ? epoll_ : -1; }

    /// None disarms. An unchanged deadline costs nothing.
    void setDeadline(std::optional<std::int64_t> nanoseconds);
    /// Any thread.
    void signal() noexcept;
    void clearSignal() noexcept;
    /// Waits until the descriptor is readable, at most so long; without a descriptor some ms.
    void wait(std::int64_t limitInNanoseconds) const;

  private:
    bool isComplete() const noexcept { return epoll_ >= 0 && timer_ >= 0 && event_ >= 0; }

    int epoll_ = -1;
    int timer_ = -1;
    int event_ = -1;
    std::optional<std::int64_t> deadline_;
};

}  // namespace TWQuickTime
