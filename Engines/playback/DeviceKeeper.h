// Sees to it that there is always a device: tries the chosen ones in order, stands in with the
// silent one when none answers or the one that plays disappears, and goes on looking.
//
// One thread at a time.
#pragma once

#include <memory>
#include <optional>

#include "Engines/playback/DeviceChoice.h"
#include "Engines/playback/Renderer.h"

namespace TWQuickTime::playback {

/// A device with what supplies it.
struct Session {
    Renderer renderer;
    /// Goes first, so that nothing asks the renderer any more.
    std::unique_ptr<OutputDevice> device;
    bool isStandIn = false;
};

class DeviceKeeper {
  public:
    DeviceKeeper(DeviceChoice choice, std::shared_ptr<const Clock> clock,
                 codec::SoundFormat wanted);

    /// Goes on with whatever is under way. Never waits.
    void look();

    /// The session of a ready device; null only until the first device of the choice has answered
    /// or has not.
    const std::shared_ptr<Session>& current() const { return current_; }
    /// Why none of the choice plays.
    const result::Status& failure() const { return failure_; }
    /// When look() would do something by itself, on the clock; none when it would not.
    std::optional<std::int64_t> nextLook() const;

  private:
    void tryDevice(std::size_t index);
    void judgeCandidate();
    void giveUpForNow();

    DeviceChoice choice_;
    std::shared_ptr<const Clock> clock_;
    codec::SoundFormat wanted_;
    std::shared_ptr<Session> current_;
    std::shared_ptr<Session> candidate_;
    std::size_t candidateIndex_ = 0;
    std::int64_t candidateDeadline_ = 0;
    std::int64_t lookedAt_ = 0;
    std::int64_t lookAgainAt_ = 0;
    bool isLooking_ = true;
    result::Status failure_;
};

}  // namespace TWQuickTime::playback
