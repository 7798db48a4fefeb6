#include "StUseQuickTimeOnThread.h"

#include "MoviesThread.h"
#include "TWLog.h"

namespace TWQuickTime {

// The line numbers are part of the logged texts and stay as they are.

StUseQuickTimeOnThread::StUseQuickTimeOnThread(std::uint32_t flags) {
    const OSErr status = EnterMoviesOnThread(flags);
    TWLogError(status, "EnterMoviesOnThread", "Sources/StUseQuickTimeOnThread", 50);
}

StUseQuickTimeOnThread::~StUseQuickTimeOnThread() {
    const OSErr status = ExitMoviesOnThread();
    TWLogError(status, "ExitMoviesOnThread", "Sources/StUseQuickTimeOnThread", 62);
}

}  // namespace TWQuickTime
