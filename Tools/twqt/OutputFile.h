// The rule that nothing is overwritten without --force.
#pragma once

#include <string>

namespace twqt {

/// Throws a CommandFailure when something is at the path already and `force` is false, or when
/// a directory is there, or when the directory that shall hold it is missing.
void requireFreeOutput(const std::string& path, bool force);

}  // namespace twqt
