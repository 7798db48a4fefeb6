// Making and resolving data references: which file do a movie's samples lie in?
#pragma once

#include <memory>
#include <string>

#include "Engines/result/Result.h"
#include "Engines/timeline/DataReference.h"

namespace TWQuickTime::moviefile {

/// A reference of type 'url ' to a file: "file:///films/a.mov", percent-encoded.
/// @param absolutePath  becomes absolute against the current folder if it is not
timeline::DataReference makeFileReference(const std::string& absolutePath);

/// A reference to the file that the movie itself is in ('url ' with the self flag).
timeline::DataReference makeSelfReference();

/// The absolute path a reference names: 'url ' (absolute or relative to `movieFolder`), or an
/// 'alis' record's path. `unsupported` for other schemes and types, `damaged` for broken records.
result::Expected<std::string> pathOfReference(const timeline::DataReference& reference,
                                              const std::string& movieFolder);

/// Opens what a reference names, for reading. Self references give `self`.
result::Expected<std::shared_ptr<timeline::SampleStore>> openDataReference(
    const timeline::DataReference& reference, const std::shared_ptr<timeline::SampleStore>& self);

}  // namespace TWQuickTime::moviefile
