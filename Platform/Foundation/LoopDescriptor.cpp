#include "Private/LoopDescriptor.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "Private/Nanoseconds.h"

namespace TWQuickTime {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

timespec timespecFrom(std::int64_t nanoseconds) {
    timespec time{};
    time.tv_sec = static_cast<time_t>(nanoseconds / nanosecondsPerSecond);
    time.tv_nsec = static_cast<long>(nanoseconds % nanosecondsPerSecond);
    return time;
}

bool watch(int epoll, int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    return epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

void closeIfOpen(int& descriptor) {
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

}  // namespace

LoopDescriptor::LoopDescriptor()
    : epoll_(epoll_create1(EPOLL_CLOEXEC)),
      timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!isComplete() || !watch(epoll_, timer_) || !watch(epoll_, event_))
        closeIfOpen(epoll_);
}

LoopDescriptor::~LoopDescriptor() {
    closeIfOpen(epoll_);
    closeIfOpen(timer_);
    closeIfOpen(event_);
}

void LoopDescriptor::setDeadline(std::optional<std::int64_t> nanoseconds) {
    if (!isComplete() || deadline_ == nanoseconds)
        return;
    deadline_ = nanoseconds;
    // Setting a time also forgets an expiry that nobody has read. A time of 0 would disarm.
    itimerspec setting{};
    if (nanoseconds)
        setting.it_value = timespecFrom(std::max<std::int64_t>(*nanoseconds, 1));
    timerfd_settime(timer_, TFD_TIMER_ABSTIME, &setting, nullptr);
}

void LoopDescriptor::signal() noexcept {
    const std::uint64_t one = 1;
    // A full counter is readable already, which is all that is wanted.
    [[maybe_unused]] const ssize_t written = ::write(event_, &one, sizeof one);
}

void LoopDescriptor::clearSignal() noexcept {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = ::read(event_, &count, sizeof count);
}

void LoopDescriptor::wait(std::int64_t limitInNanoseconds) const {
    constexpr std::int64_t turnWithoutDescriptor = 5'000'000;
    const bool isForever = isComplete() && limitInNanoseconds == nanosecondsMaximum;
    const timespec limit = timespecFrom(
        isComplete() ? limitInNanoseconds : std::min(limitInNanoseconds, turnWithoutDescriptor));
    pollfd watched{};
    watched.fd = epoll_;
    watched.events = POLLIN;
    ppoll(&watched, isComplete() ? 1 : 0, isForever ? nullptr : &limit, nullptr);
}

}  // namespace TWQuickTime
