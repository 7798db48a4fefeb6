// The order in which the samples of several tracks lie in a file that is played from front to back.
//
// Each track gives its samples as a stream of runs, cut into chunks of about half a second. The
// chunks of all tracks are merged by the time at which they are shown; a track's own order stays.
// Nothing is stored: the order is made anew each time, so that memory does not grow with the movie.
//
//     Interleaver interleaver(streams);
//     Status planned = interleaver.forEachRun([&](std::size_t track, const SampleRun& run) { … });
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Engines/result/Result.h"
#include "Engines/timeline/SampleStore.h"

namespace TWQuickTime::moviefile {

/// Samples of one track that lie one behind the other in one store.
struct SampleRun {
    const timeline::SampleStore* store = nullptr;
    std::uint64_t offset = 0;
    std::uint64_t sizeInBytes = 0;
    std::uint32_t sampleCount = 0;
    std::uint32_t descriptionIndex = 1;
    /// When the first of them is shown, on a scale that all tracks share.
    std::int64_t time = 0;
    /// Whether a new chunk begins with it; else it continues the one before.
    bool beginsChunk = true;
};

/// The samples of a track in their order.
class SampleRunStream {
  public:
    virtual ~SampleRunStream() = default;
    /// Goes back to the first sample.
    virtual void rewind() = 0;
    /// The next run; none at the end.
    virtual result::Expected<std::optional<SampleRun>> next() = 0;
};

class Interleaver {
  public:
    using Visit = std::function<result::Status(std::size_t track, const SampleRun& run)>;

    explicit Interleaver(std::vector<std::unique_ptr<SampleRunStream>> tracks);

    /// Calls `visit` with every run of every track in the order of the file; stops at the first
    /// failure and returns it. May be called again, with the same result.
    result::Status forEachRun(const Visit& visit);

  private:
    std::vector<std::unique_ptr<SampleRunStream>> tracks_;
};

}  // namespace TWQuickTime::moviefile
