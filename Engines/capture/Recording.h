// A recording that is running: devices are read, and the movie grows, until it is stopped.
//
// Every source has a thread that takes its units, and one more thread writes them; between them is
// a bounded queue, so that a slow disk holds up the devices (which then drop pictures) instead of
// filling the memory. A device that goes away ends its track; the others go on. A disk that is full
// ends the recording. Both can be asked for while it runs, and what was recorded so far is kept.
//
//     auto recording = Recording::start(file, std::move(sources));
//     if (!recording) return recording.failure();
//     …  (*recording)->health()  …
//     Status stopped = (*recording)->stop();       // threads joined, the file an ordinary movie
#pragma once

#include <memory>
#include <vector>

#include "Engines/capture/DeviceSource.h"
#include "Engines/capture/GrowingMovie.h"

namespace TWQuickTime::capture {

class Recording {
  public:
    /// Starts the sources and the threads.
    /// @param movie  outlives the recording
    /// @return the first failure of a source to start; nothing runs then, the file is a movie
    static result::Expected<std::unique_ptr<Recording>> start(
        GrowingMovie& movie, std::vector<std::unique_ptr<DeviceSource>> sources);
    /// Stops when that was not done.
    virtual ~Recording() = default;

    /// The first failure of a device or of the file since the start; success: all is well.
    virtual result::Status health() const = 0;
    /// Returns when everything that was captured is in the file.
    /// @return the first failure of the file; that of a device does not count here
    virtual result::Status stop() = 0;
};

}  // namespace TWQuickTime::capture
