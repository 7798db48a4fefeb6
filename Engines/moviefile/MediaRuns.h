// The samples of a media as a stream of runs, cut into chunks of about half a second.
#pragma once

#include <cstdint>
#include <memory>

#include "Engines/moviefile/Interleaver.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::moviefile {

enum class RunOrder {
    byTime,   ///< a run's time is the first at which the track shows it
    byTrack,  ///< all runs have the time 0, so that one track follows another
};

/// Reads the tables of the track's media, which must live and not change as long as the stream
/// does. A run whose bytes its store does not have is a `truncated` failure, one whose store is not
/// open `notAvailable`.
/// @param movieTimeScale  the scale of the runs' times
std::unique_ptr<SampleRunStream> makeMediaRuns(const timeline::Track& track,
                                               std::uint32_t movieTimeScale, RunOrder order);

}  // namespace TWQuickTime::moviefile
