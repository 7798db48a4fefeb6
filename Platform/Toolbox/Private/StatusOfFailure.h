// The toolbox's status for a failure of an engine.
#pragma once

#include "Engines/result/Result.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

OSErr statusOfFailure(const result::Failure& failure);

/// As above, for reading a movie: a file without one, or with one that contradicts itself, has no
/// movie (-2048).
OSErr statusOfOpeningFailure(const result::Failure& failure);

inline OSErr statusOf(const result::Status& status) {
    return status ? noErr : statusOfFailure(status.failure());
}

}  // namespace TWQuickTime
