// Brings what devices deliver into the tracks of a movie: each unit at its time, pictures and sound
// in step.
//
// Times count from the first unit that was captured after the recording's start, so that a movie
// does not begin with the time that a device takes to wake up; what is older is left out. A picture
// lasts until the next one. Sound goes on frame
// by frame, and where a device lost some there is silence; pictures follow the sound's clock.
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
    MovieAssembler(GrowingMovie& movie, std::vector<StreamFormat> formats,
                   std::int64_t startInNanoseconds);

    /// Begins the segment, unless a stream's parameters are still to come with its data.
    result::Status begin();
    /// @param stream  an index of the formats
    result::Status take(std::size_t stream, CapturedUnit unit);
    /// Adds the last pictures.
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

        bool isAvc() const;
    };

    result::Status takePicture(std::size_t stream, CapturedUnit unit);
    result::Status takeSound(std::size_t stream, CapturedUnit unit);
    result::Status addSilence(std::size_t stream, std::int64_t frames);
    result::Status waitForParameters(std::size_t stream, CapturedUnit unit);
    std::int64_t inVideoUnits(std::int64_t nanoseconds) const;

    GrowingMovie& movie_;
    std::vector<Stream> streams_;
    std::int64_t origin_;  ///< the start, and from the first unit on its time
    bool originSettled_ = false;
    std::optional<SoundClock> clock_;  ///< of the first stream of sound
    bool begun_ = false;
    /// Units from before the segment could begin.
    std::deque<std::pair<std::size_t, CapturedUnit>> waiting_;
    std::size_t waitingBytes_ = 0;
};

}  // namespace TWQuickTime::capture
