#include "Engines/playback/PacedFrames.h"

#include <algorithm>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::playback {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

}  // namespace

void PacedFrames::setRate(std::int64_t framesPerSecond) {
    const std::lock_guard lock(mutex_);
    rate_ = framesPerSecond;
}

void PacedFrames::start() {
    const std::lock_guard lock(mutex_);
    runs_ = true;
    startedAt_ = clock_->nanoseconds();
    heardAtStart_ = taken_;
}

void PacedFrames::stop() {
    const std::lock_guard lock(mutex_);
    runs_ = false;
}

std::int64_t PacedFrames::passed(std::int64_t aheadInNanoseconds) const {
    const std::int64_t elapsed = clock_->nanoseconds() - startedAt_ + aheadInNanoseconds;
    return heardAtStart_ + timeline::rescaleDown(elapsed, kNanosecondsPerSecond, rate_);
}

std::int64_t PacedFrames::framesDue(std::int64_t aheadInNanoseconds) const {
    const std::lock_guard lock(mutex_);
    return runs_ ? std::max<std::int64_t>(passed(aheadInNanoseconds) - taken_, 0) : 0;
}

void PacedFrames::took(std::int64_t frames) {
    const std::lock_guard lock(mutex_);
    taken_ += frames;
}

DeviceProgress PacedFrames::progress() const {
    const std::lock_guard lock(mutex_);
    return {taken_, runs_ ? std::min(passed(0), taken_) : taken_};
}

}  // namespace TWQuickTime::playback
