#include "Engines/playback/SilentDevice.h"

#include <algorithm>
#include <cmath>

namespace TWQuickTime::playback {

namespace {

constexpr std::int64_t kFramesPerPiece = 4096;

}  // namespace

void SilentDevice::requestOpen(codec::SoundFormat wanted, SoundSupply& supply) {
    format_ = wanted;
    supply_ = &supply;
    frames_.setRate(std::llround(wanted.sampleRate));
}

void SilentDevice::pump(std::int64_t aheadInNanoseconds) {
    std::int64_t due = frames_.framesDue(aheadInNanoseconds);
    if (!listening_ && due > 0) {
        supply_->skip(due);
        frames_.took(due);
        return;
    }
    while (due > 0) {
        const std::int64_t count = std::min(due, kFramesPerPiece);
        heard_.resize(std::size_t(count) * std::size_t(format_.channels));
        supply_->supply(heard_);
        frames_.took(count);
        due -= count;
    }
}

}  // namespace TWQuickTime::playback
