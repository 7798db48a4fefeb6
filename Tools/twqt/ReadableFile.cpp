#include "ReadableFile.h"

#include <unistd.h>

#include <filesystem>

#include "CommandFailure.h"
#include "StatusText.h"
#include "ToolboxTypes.h"

namespace twqt {

void requireReadableFile(const std::string& what, const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (!fs::exists(status))
        throw failureWithStatus(what + " " + path, TWQuickTime::fnfErr);
    if (fs::is_directory(status))
        throw CommandFailure(what + " " + path,
                             "is a directory (" + std::to_string(TWQuickTime::paramErr) + ")");
    if (access(path.c_str(), R_OK) != 0)
        throw failureWithStatus(what + " " + path, TWQuickTime::permErr);
}

}  // namespace twqt
