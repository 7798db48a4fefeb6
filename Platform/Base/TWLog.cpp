#include "TWLog.h"

namespace TWQuickTime {

void TWLogError(std::int32_t status, const char* label, const char* sourceFile, int line) {
    if (status != 0)
        TWLog("%s failed: %d (%s:%d)", label, status, sourceFile, line);
}

}  // namespace TWQuickTime
