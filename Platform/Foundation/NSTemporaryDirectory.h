// Where the process keeps files that it needs for a while.
//
//     NSString path = NSTemporaryDirectory().stringByAppendingPathComponent("EPR0.mov");
#pragma once

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// A directory of this process alone (mode 0700), made when it is first asked for, made again
/// should it have gone, and deleted with all that is in it when the process exits. It lies in the
/// directory that TMPDIR names, else in /tmp, else in /var/tmp, else in the current directory. Any
/// thread.
/// @return without a trailing slash; nil when no directory can be made anywhere
TWQT_EXPORT NSString NSTemporaryDirectory();

}  // namespace TWQuickTime
