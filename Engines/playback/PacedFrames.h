// Frames that pass at a rate of a clock while it runs: the heart of devices without hardware.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "Engines/playback/Clock.h"
#include "Engines/playback/OutputDevice.h"

namespace TWQuickTime::playback {

class PacedFrames {
  public:
    explicit PacedFrames(std::shared_ptr<const Clock> clock) : clock_(std::move(clock)) {}

    void setRate(std::int64_t framesPerSecond);
    void start();
    /// What was taken counts as heard.
    void stop();
    /// Frames that are to be taken so that none is missing within so long from now.
    std::int64_t framesDue(std::int64_t aheadInNanoseconds) const;
    void took(std::int64_t frames);
    DeviceProgress progress() const;

  private:
    std::int64_t passed(std::int64_t aheadInNanoseconds) const;

    std::shared_ptr<const Clock> clock_;
    mutable std::mutex mutex_;
    std::int64_t rate_ = 48000;
    bool runs_ = false;
    std::int64_t startedAt_ = 0;  ///< nanoseconds
    std::int64_t heardAtStart_ = 0;
    std::int64_t taken_ = 0;
};

}  // namespace TWQuickTime::playback
