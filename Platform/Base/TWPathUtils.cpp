#include "TWPathUtils.h"

#include <unistd.h>

namespace TWQuickTime {

bool TWPathUtils::fileExists(const NSString& path) {
    return !path.isNil() && access(path.fileSystemRepresentation(), F_OK) == 0;
}

}  // namespace TWQuickTime
