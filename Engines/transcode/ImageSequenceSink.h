// Each picture as a file of its own: the first under the destination's name, the others beside it
// with their number in front of the extension ("shot.png", "shot 0002.png" …).
#pragma once

#include <string>

#include "Engines/moviefile/FileStorage.h"
#include "Engines/transcode/MediaSink.h"

namespace TWQuickTime::transcode {

/// @param storage      takes the first picture; outlives the sink
/// @param destination  path that the storage will have
std::unique_ptr<MediaSink> makeImageSequenceSink(moviefile::FileStorage& storage,
                                                 const std::string& destination);

}  // namespace TWQuickTime::transcode
