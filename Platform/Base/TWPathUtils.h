// Questions about paths that the framework asks the file system.
#pragma once

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT TWPathUtils {
  public:
    /// Whether something exists at the path, symbolic links followed; false for nil. (fileExists:)
    static bool fileExists(const NSString& path);
};

}  // namespace TWQuickTime
