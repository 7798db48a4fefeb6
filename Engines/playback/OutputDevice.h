// The seam to what makes sound audible. This page is the whole contract between the player and a
// device; a device that keeps it needs to know nothing else of the engine.
//
// A device pulls. Whenever it has room it asks its SoundSupply for frames, in order, each once:
//
//     device->requestOpen({.channels = 2, .sampleRate = 44100}, supply);
//     while (device->state() == DeviceState::opening) …       // the player looks again later
//     device->start();                                        // supply(…) is called from now on
//     device->progress().framesHeard                          // any thread, any time
//     device->stop();                                         // and now it is called no more
//
// States:
//
//     from      to        when
//     opening   ready     the device answers; format() holds from now on
//     opening   gone      it does not answer, or not in the way that is needed; failure() says why
//     ready     gone      it disappeared: unplugged, server ended, disk full; failure() says why
//     gone      –         for good; who wants sound again makes another device
//
// Format. The player asks for the movie's own rate and channels. A device takes them if it can
// without converting, else it names what it has; the player then converts, with better filters than
// devices have. Samples are interleaved 32-bit floats, full scale at 1; what is louder is clipped
// by the device. The format never changes while the device is ready.
//
// The supply. It is called from one thread at a time, between start() and stop() only, with any
// number of frames; it always fills all of them, with silence when nothing is there. It returns at
// once: it allocates nothing, takes no lock and makes no system call, so that a device may call it
// where a late sample is a gap. (A pumped device whose owner gave up threads is the exception:
// there the supply decodes.) A device that throws sound away may call skip() in its place.
//
// Time. progress() counts from the device's making and never restarts: frames that were taken from
// the supply, and how many of them have been heard by now. Heard is what has left the machine as
// far as the device can know, so the latency of servers and hardware is subtracted; between two
// reports of the hardware it is interpolated. It is at most framesTaken. It may jitter: the player
// keeps it from going back. While stopped it stands still.
//
// Stopping. stop() drops what was taken and not heard, as if it had been heard; when it returns, no
// supply call runs and none will come. start() afterwards goes on with frames that are new. Both
// return within 20 ms. A device that is gone ignores both.
//
// Pumping. A device has a thread of its own that calls the supply, or it has none and takes what
// has come due when pump() is called. Its owner pumps at least every 50 ms where it wants real
// time.
//
// Threads. requestOpen(), start(), stop(), pump() and destruction belong to one thread at a time
// (the player's); all others may be called from any thread.
// Destruction stops, and waits for the device's own thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "Engines/codec/Resampler.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::playback {

/// Where a device gets its frames from.
class SoundSupply {
  public:
    virtual ~SoundSupply() = default;

    /// Fills all of it with the next frames. In real time; see above.
    virtual void supply(std::span<float> interleaved) noexcept = 0;
    /// As if so many frames had been supplied, for devices that nobody listens to.
    virtual void skip(std::int64_t frames) noexcept = 0;
};

enum class DeviceState { opening, ready, gone };

struct DeviceProgress {
    std::int64_t framesTaken = 0;
    /// At most framesTaken, at least 0.
    std::int64_t framesHeard = 0;
};

class OutputDevice {
  public:
    virtual ~OutputDevice() = default;

    /// For people: "null output", "silent".
    virtual std::string name() const = 0;

    /// Begins to open; returns before it is done. Once for each device.
    /// @param supply  outlives the device
    virtual void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) = 0;
    virtual DeviceState state() const = 0;
    /// Why the device is gone; success while it is not.
    virtual result::Status failure() const = 0;
    /// Only from the ready state on.
    virtual codec::SoundFormat format() const = 0;

    virtual void start() = 0;
    virtual void stop() = 0;
    virtual DeviceProgress progress() const = 0;

    /// Whether it has no thread of its own and lives on pump().
    virtual bool isPumped() const { return false; }
    /// Takes what comes due within so long from now.
    virtual void pump(std::int64_t /*aheadInNanoseconds*/) {}
    /// False for devices that only ever skip: nothing need be decoded for them.
    virtual bool isListening() const { return true; }
};

/// Makes a new device, not yet opened. Called again to look for a device that disappeared.
using DeviceFactory = std::function<std::unique_ptr<OutputDevice>()>;

}  // namespace TWQuickTime::playback
