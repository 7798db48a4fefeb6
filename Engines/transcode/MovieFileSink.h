// QuickTime and MPEG-4 files by our own writer.
#pragma once

#include "Engines/moviefile/FileStorage.h"
#include "Engines/transcode/ExportSettings.h"
#include "Engines/transcode/MediaSink.h"

namespace TWQuickTime::transcode {

/// @param storage  an empty file; outlives the sink
result::Expected<std::unique_ptr<MediaSink>> openMovieFileSink(moviefile::FileStorage& storage,
                                                               FileKind kind);

}  // namespace TWQuickTime::transcode
