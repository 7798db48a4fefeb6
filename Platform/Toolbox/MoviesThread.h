// The thread scope of the toolbox: a thread other than the main one enters before it uses movies
// and exits afterwards. Entries nest and are counted per thread.
//
//     if (EnterMoviesOnThread(0) == noErr) {
//         …
//         ExitMoviesOnThread();
//     }
#pragma once

#include <cstdint>

#include "ToolboxTypes.h"

namespace TWQuickTime {

/// @param flags  kept for callers that pass them; none changes anything here
TWQT_EXPORT OSErr EnterMoviesOnThread(std::uint32_t flags);
/// @return movieToolboxUninitialized when this thread has not entered
TWQT_EXPORT OSErr ExitMoviesOnThread();

}  // namespace TWQuickTime
