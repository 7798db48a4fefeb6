// How the clock of a sound device runs against the system's.
//
// Recorded sound is one frame after the other, as the device delivers it: its time is counted in
// frames by the device's own crystal. Pictures are stamped by the system's clock. The two drift
// apart by some seconds a day, and by all that a device loses when it is not read in time. The
// clock watches the times that come with the sound: a slow drift it tells to whoever places
// pictures, a loss it makes good with silence.
//
//     frames += clock.framesLostBefore(unit.timeInNanoseconds);   // silence to put in
//     clock.advance(unitFrames);
//     pictureTime += clock.correctionInNanoseconds();
#pragma once

#include <cstdint>

namespace TWQuickTime::capture {

class SoundClock {
  public:
    explicit SoundClock(int framesPerSecond) : framesPerSecond_(framesPerSecond) {}

    /// @param nanoseconds  when the next frame was captured, on the system's clock
    /// @return how many frames are missing before it; at most those of ten seconds at a time
    std::int64_t framesLostBefore(std::int64_t nanoseconds);
    /// So many frames were recorded.
    void advance(std::int64_t frames) { frames_ += frames; }

    /// What to add to a time of the system's clock to get the time in the recorded sound, besides
    /// a constant: 0 at the first frame, from then on smoothed over many seconds.
    std::int64_t correctionInNanoseconds() const { return -static_cast<std::int64_t>(lag_); }

  private:
    int framesPerSecond_;
    std::int64_t frames_ = 0;
    std::int64_t start_ = 0;
    bool started_ = false;
    double lag_ = 0;  ///< nanoseconds by which the count of frames stays behind the system's clock
    double heardUntilLag_ = 0;  ///< nanoseconds of sound when the lag was looked at last
};

}  // namespace TWQuickTime::capture
