#include "OutputFile.h"

#include <filesystem>

#include "CommandFailure.h"
#include "StatusText.h"
#include "ToolboxTypes.h"

namespace twqt {

void requireFreeOutput(const std::string& path, bool force) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::file_status status = fs::symlink_status(path, ignored);
    if (fs::is_directory(fs::status(path, ignored)))
        throw CommandFailure("write " + path,
                             "is a directory (" + std::to_string(TWQuickTime::opWrErr) + ")");
    if (fs::exists(status) && !force)
        throw CommandFailure("write " + path,
                             statusText(TWQuickTime::dupFNErr) + ", use --force to overwrite it");
    const fs::path parent = fs::path(path).parent_path();
    if (!parent.empty() && !fs::is_directory(parent, ignored))
        throw CommandFailure("write " + path,
                             "directory not found (" + std::to_string(TWQuickTime::fnfErr) + ")");
}

}  // namespace twqt
