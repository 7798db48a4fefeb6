// What travels from a movie to its export besides pictures and sound.
#pragma once

#include "Engines/transcode/MediaSink.h"

namespace TWQuickTime::transcode {

/// @param mainTrack        the track whose timecode counts; null: none
/// @param start, duration  of the exported range, movie time units
Passengers passengersOf(const timeline::Movie& movie, const timeline::Track* mainTrack,
                        std::int64_t start, std::int64_t duration);

}  // namespace TWQuickTime::transcode
