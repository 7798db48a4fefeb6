// Files of foreign formats by the codec library's muxers, as an export's destination.
#pragma once

#include "Engines/moviefile/FileStorage.h"
#include "Engines/transcode/ExportSettings.h"
#include "Engines/transcode/MediaSink.h"

namespace TWQuickTime::transcode {

/// @param storage  an empty file; outlives the sink
result::Expected<std::unique_ptr<MediaSink>> openForeignSink(moviefile::FileStorage& storage,
                                                             FileKind kind);

}  // namespace TWQuickTime::transcode
