// Why a file cannot be read, before a reader only says that it found nothing.
#pragma once

#include <string>

namespace twqt {

/// Throws a CommandFailure when the path names no file that may be read.
/// @param what  the operation, without the file: "read presets"
void requireReadableFile(const std::string& what, const std::string& path);

}  // namespace twqt
