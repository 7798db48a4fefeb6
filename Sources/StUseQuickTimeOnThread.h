// Brackets the use of movies on a thread other than the main one, for the lifetime of a scope.
//
//     std::thread worker([] {
//         StUseQuickTimeOnThread scope(0);
//         …                                  // open, edit, export
//     });
#pragma once

#include <cstdint>

#include "TWQTExport.h"

namespace TWQuickTime {

/// Independent of StQuickTimeLock: neither takes the other.
class TWQT_EXPORT StUseQuickTimeOnThread {
  public:
    /// A failure is logged and otherwise ignored.
    /// @param flags  passed to EnterMoviesOnThread unchanged
    explicit StUseQuickTimeOnThread(std::uint32_t flags);
    /// Exits even if entering failed (on purpose); a failure is logged.
    ~StUseQuickTimeOnThread();
    StUseQuickTimeOnThread(const StUseQuickTimeOnThread&) = delete;
    StUseQuickTimeOnThread& operator=(const StUseQuickTimeOnThread&) = delete;
};

}  // namespace TWQuickTime
