// The seam between recording and devices: how devices are found, and how their data are taken.
//
// A `DeviceBackEnd` knows the devices of one kind and system. It must: answer `devices` with what
// is plugged in at that moment, in a settled order; open a device by the identity it listed. It may
// be asked from any thread, one call at a time.
//
// A `DeviceSource` is one open input of one device. Its life:
//
//     state     call      next state   notes
//     open      start     running      the device delivers from now on
//     open      next      open         none, at once
//     running   next      running      a unit, or none after 100 ms without one
//     running   next      failed       the device went away; every later `next` fails likewise
//     any       stop      open         may be called twice; what was not taken is dropped
//
// `format` is settled by opening and never changes. `start`, `next` and `stop` are called by one
// thread at a time, `next` by the recording's own.
//
// A source must: stamp every unit with the time at which it was captured, as the device's driver
// tells it, on the system's monotonic clock; deliver units whole and in order; return from `next`
// within 100 ms when nothing comes, so that a stop is never kept waiting. It may: skip units that
// the device dropped (recording goes on over the gap). It must not: keep threads of its own, buffer
// without bound, or call back.
//
// A failure to open is `notFound` for a device that is not there, `notAvailable` for one that is in
// use, `permission`, or `unsupported` for one that delivers nothing that can be recorded.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Engines/capture/CaptureDevice.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::capture {

/// Pictures as the device delivers them.
struct VideoFormat {
    /// 'jpeg', 'avc1' (access units with start codes), 'yuvs', '2vuy' or 'raw ' (R G B bytes).
    std::uint32_t codec = 0;
    int width = 0;
    int height = 0;
    double framesPerSecond = 25;  ///< nominal; times come with the units
};

/// Interleaved integer samples.
struct SoundFormat {
    std::uint32_t codec = 0;  ///< 'sowt' (16 bits little-endian) or 'in24' (24 bits big-endian)
    int sampleRate = 48000;   ///< frames per second, up to 65535
    int channels = 2;
    int bytesPerFrame() const;
};

using StreamFormat = std::variant<VideoFormat, SoundFormat>;

/// A picture, or a run of whole frames of sound.
struct CapturedUnit {
    std::vector<std::byte> bytes;
    /// When the picture, or the first frame of sound, was captured: nanoseconds of the monotonic
    /// clock.
    std::int64_t timeInNanoseconds = 0;
};

class DeviceSource {
  public:
    virtual ~DeviceSource() = default;
    virtual const StreamFormat& format() const = 0;
    virtual result::Status start() = 0;
    virtual result::Expected<std::optional<CapturedUnit>> next() = 0;
    virtual void stop() = 0;
};

class DeviceBackEnd {
  public:
    virtual ~DeviceBackEnd() = default;

    /// @param checkAvailability  false spares the time of asking every device whether it is in use
    virtual std::vector<Device> devices(bool checkAvailability) = 0;
    /// @param inputIndex  of the device's `inputs`
    virtual result::Expected<std::unique_ptr<DeviceSource>> open(const std::string& identity,
                                                                 std::size_t inputIndex) = 0;
};

/// The longest that `next` may wait for a unit.
constexpr std::int64_t kLongestWaitInNanoseconds = 100'000'000;

}  // namespace TWQuickTime::capture
