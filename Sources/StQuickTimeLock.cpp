#include "StQuickTimeLock.h"

namespace TWQuickTime {

StQuickTimeLock::StQuickTimeLock() : StNamedLock("QuickTimeLock") {}

}  // namespace TWQuickTime
