// The destination for each kind of file.
#pragma once

#include "Engines/moviefile/FileStorage.h"
#include "Engines/transcode/ExportSettings.h"
#include "Engines/transcode/MediaSink.h"

namespace TWQuickTime::transcode {

/// @param storage      an empty file; outlives the sink
/// @param destination  path that the file will have
result::Expected<std::unique_ptr<MediaSink>> openSink(moviefile::FileStorage& storage,
                                                      FileKind kind,
                                                      const std::string& destination);

}  // namespace TWQuickTime::transcode
