// The last step of an export: its file, complete, takes its name.
#pragma once

#include <functional>
#include <string>

#include "Engines/moviefile/ReplacementFile.h"
#include "Engines/transcode/ExportSettings.h"

namespace TWQuickTime::transcode {

/// Syncs the file and gives it its name. Where the settings want the movie atom in front, its data
/// are copied behind the atom first, into another file.
/// @param path      of the destination
/// @param progress  asked whether to go on while data are copied; empty: nobody asks
result::Status commitExport(moviefile::ReplacementFile& exported, const std::string& path,
                            const ExportSettings& settings,
                            const std::function<bool(double fractionDone)>& progress);

}  // namespace TWQuickTime::transcode
