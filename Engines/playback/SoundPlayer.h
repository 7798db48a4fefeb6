// Plays the sound of a movie: any range of it, to the sample, once or in a loop.
//
//     auto player = SoundPlayer::open(movie, {.devices = DeviceChoice::best()});
//     (*player)->setRange({44100, 44100}, {88200, 44100});
//     (*player)->setLoops(true);
//     (*player)->play();
//     const Time now = (*player)->heardPosition();
//
// A position is a time of the movie in frames of its sound: units of framesPerSecond(). Times that
// are given in other units mean the nearest frame.
//
// The playhead and the range. The range is [in, out): the frame at `out` is not heard. A playhead
// in front of `in` moves to `in`; one at or behind `out` moves to `in` when the range loops and is
// at the end when it does not. That holds for play(), for seek() while playing, and for a change of
// range, loops or rate while playing; such changes leave no gap and drop no frame: the sound goes
// on at the frame where the device is. An empty range is at its end at once, looping or not.
//
//     state     event                         next      heardPosition()
//     stopped   play()                        running   where it was, or `in`, until it is heard
//     running   stop()                        stopped   stands where it was heard last
//     running   end of a range without loop   running   stands at `out`; reachedEnd() is true
//     any       seek(t)                       the same  t at once, then goes on from there
//
// reachedEnd() holds until seek(), play(), or a change of range or loops takes the playhead away.
// The owner stops the player; nothing stops by itself.
//
// When no device answers, or the one that plays disappears, the silent one takes over at the same
// position and time runs on; the player then looks for the wanted device about once a second and
// goes over to it when it is there.
//
// A movie without sound plays as silence of 48,000 frames a second.
//
// Threads. A player belongs to its owner's thread; no call waits for a device or a decoder. With
// `Pumping::onItsThread` a thread decodes ahead from the first play() on; it ends with the player.
// With `Pumping::byTheOwner` there is none: every call first does what has come due by the clock,
// so that a run over a manual clock gives the same samples each time. That is for devices without a
// thread of their own: silent, file and test devices.
//
// The movie must outlive the player. Its tracks, edits, sample tables and settings must not change
// meanwhile: who edits it makes a new player. To read it at the same time is fine.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Engines/playback/Clock.h"
#include "Engines/playback/DeviceChoice.h"
#include "Engines/result/Result.h"
#include "Engines/timeline/Movie.h"
#include "Engines/transcode/Time.h"

namespace TWQuickTime::playback {

using transcode::Time;

enum class Pumping { onItsThread, byTheOwner };

struct PlayerOptions {
    /// An empty choice: the silent device.
    DeviceChoice devices = {};
    /// Of silent and file devices, and of deadlines. Real devices bring their own.
    std::shared_ptr<const Clock> clock = Clock::steady();
    Pumping pumping = Pumping::onItsThread;
};

/// What makes the sound at present.
enum class OutputState {
    none,     ///< nothing was played yet
    opening,  ///< the position stands until a device answers
    playing,  ///< a device of the choice
    standIn,  ///< the silent device, because none of the choice answers
};

class SoundPlayer {
  public:
    /// Fails when the movie has sound and none of it can be decoded. Opens no device.
    static result::Expected<std::unique_ptr<SoundPlayer>> open(const timeline::Movie& movie,
                                                               PlayerOptions options);
    ~SoundPlayer();

    /// Of positions: the highest rate of the movie's sound tracks.
    std::int64_t framesPerSecond() const;
    /// The end of the movie's longest track. It may differ from what the movie says by less than
    /// one unit of the movie's time scale: the sound of a file ends where its samples end. A time
    /// that is given as the movie's own end means this one.
    Time duration() const;

    /// Both are held within the movie.
    void setRange(Time in, Time out);
    void setWholeRange();
    void setLoops(bool loops);
    /// Movie seconds per second, by resampling. Held between 1/100 and 100.
    /// @return `badArgument` for 0, negative rates and what is no number; nothing changes then
    result::Status setRate(double rate);
    double rate() const;

    /// Held within the movie.
    void seek(Time position);
    void play();
    void stop();
    bool isRunning() const;

    /// 1 leaves the samples alone. A change is a straight ramp of 5 ms. Held between 0 and 100.
    void setGain(float gain);

    /// The time that is heard now, latency subtracted. Goes only forward between two seeks, apart
    /// from the jump from `out` to `in` of a loop.
    Time heardPosition();
    /// The end of a range that does not loop has been heard.
    bool reachedEnd();
    /// The greatest absolute sample since the last call, all channels.
    float takePeak();

    OutputState outputState() const;
    /// The device's own name; empty while there is none.
    std::string outputName() const;
    /// Why the last device of the choice went or did not come; success while one plays.
    result::Status outputFailure() const;

    /// When to look again at reachedEnd() and outputState(), on the clock: the time at which the
    /// end will have been heard, and with real devices a fifth of a second from now if that is
    /// sooner. None while stopped and at the end. Ask again after each call that changes something.
    std::optional<std::int64_t> nextEventInNanoseconds();

  private:
    class Core;
    explicit SoundPlayer(std::unique_ptr<Core> core);
    std::unique_ptr<Core> core_;
};

}  // namespace TWQuickTime::playback
