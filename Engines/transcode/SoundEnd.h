// Where the sound of a track ends, to the sample.
//
// Movies count coarsely: many files have 600 or 1000 units a second, and so say the end of their
// sound only to the nearest millisecond. An end that lies within one such unit of the media's end
// means the media's end.
#pragma once

#include <cstdint>

#include "Engines/timeline/Movie.h"

namespace TWQuickTime::transcode {

/// @param sampleRate  frames a second of the result
/// @return frames from the movie's beginning; 0 for a track without edits
std::int64_t soundEnd(const timeline::Movie& movie, const timeline::Track& track,
                      std::int64_t sampleRate);

}  // namespace TWQuickTime::transcode
