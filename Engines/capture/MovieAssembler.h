// Brings what devices deliver into the tracks of a movie: each unit at its time, pictures and sound
// in step.
//
// Times count from the first unit that was captured after the recording's start, so that a movie
// does not begin with the time that a device takes to wake up; what is older is left out. Devices
// deliver at their own pace, so which unit was first is known only when each has delivered one:
// until then, for at most a second, units wait. A picture lasts until the next one. Sound goes on
// frame by frame, and where a device lost some there is silence; pictures follow the sound's clock.
//
//     MovieAssembler assembler(file, formats, startInNanoseconds);
//     Status taken = assembler.take(0, unit);
//     Status finished = assembler.finish();         // the segment is ended by the caller
//
// Not for use from two threads at once.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "Engines/capture/DeviceSource.h"
#include "Engines/capture/GrowingMovie.h"
#include "Engines/capture/SoundClock.h"

namespace TWQuickTime::capture {

class MovieAssembler {
  public:
    /// @param movie  outlives the assembler, which begins a segment of it when all formats are
    /// known
    /// @param startInNanoseconds  of the recording, on the system's monotonic clock
    MovieAssembler(GrowingMovie& movie, const std::vector<StreamFormat>& formats,
                   std::int64_t startInNanoseconds);

    /// Begins the segment, unless a stream's parameters are still to come with its data.
    result::Status begin();
    /// @param stream  an index of the formats
    result::Status take(std::size_t stream, CapturedUnit unit);
    /// Adds what still waits, and the last pictures.
    result::Status finish();

  private:
    struct HeldPicture {
        std::vector<std::byte> bytes;
        std::int64_t start = 0;  ///< units of kVideoTimeScale
        bool sync = true;
    };
    struct Stream {
        StreamFormat format;
        std::vector<std::byte> avcConfiguration = {};
        std::optional<HeldPicture> held = {};
        std::uint32_t lastDuration = 0;
        bool hasDelivered = false;

        bool isAvc() const;
    };

    result::Status wait(std::size_t stream, CapturedUnit unit);
    bool isOriginKnown() const;
    result::Status settleOrigin();
    result::Status addToMovie(std::size_t stream, CapturedUnit unit);
    result::Status takePicture(std::size_t stream, CapturedUnit unit);
    result::Status takeSound(std::size_t stream, CapturedUnit unit);
    result::Status addSilence(std::size_t stream, std::int64_t frames);
    std::int64_t inVideoUnits(std::int64_t nanoseconds) const;

    GrowingMovie& movie_;
    std::vector<Stream> streams_;
    std::int64_t origin_;  ///< the recording's start; once settled, the time of the first unit
    bool originSettled_ = false;
    std::optional<SoundClock> clock_;  ///< of the first stream of sound
    bool begun_ = false;
    /// Units from before the segment could begin and the origin was settled.
    std::deque<std::pair<std::size_t, CapturedUnit>> waiting_;
    std::size_t waitingBytes_ = 0;
};

}  // namespace TWQuickTime::capture
