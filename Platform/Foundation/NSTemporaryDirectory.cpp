#include "NSTemporaryDirectory.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

namespace TWQuickTime {
namespace {

/// A directory, not a link to one, that nobody but this user can look into or write to.
bool isPrivateDirectory(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & 077) == 0;
}

/// Empty when it cannot be made there.
std::string makePrivateDirectoryIn(const std::string& parent) {
    std::string path = parent + "/TWQuickTime.XXXXXX";
    if (!::mkdtemp(path.data()) || !isPrivateDirectory(path))
        return {};
    return path;
}

std::string makePrivateDirectory() {
    const char* ofEnvironment = ::getenv("TMPDIR");
    if (ofEnvironment && *ofEnvironment == '/') {
        std::string path =
            makePrivateDirectoryIn(NSString(ofEnvironment).stringByStandardizingPath().utf8());
        if (!path.empty())
            return path;
    }
    std::error_code failure;
    const std::filesystem::path current = std::filesystem::current_path(failure);
    for (const std::string& parent :
         {std::string("/tmp"), std::string("/var/tmp"), current.string()}) {
        std::string path = makePrivateDirectoryIn(parent);
        if (!path.empty())
            return path;
    }
    return {};
}

class ProcessDirectory {
  public:
    ProcessDirectory() = default;
    ProcessDirectory(const ProcessDirectory&) = delete;
    ProcessDirectory& operator=(const ProcessDirectory&) = delete;
    ~ProcessDirectory() {
        // A forked child must leave its parent's directory alone.
        if (path_.empty() || owner_ != ::getpid() || !isPrivateDirectory(path_))
            return;
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    NSString path() {
        std::lock_guard lock(mutex_);
        if (path_.empty() || owner_ != ::getpid() || !isPrivateDirectory(path_)) {
            path_ = makePrivateDirectory();
            owner_ = ::getpid();
        }
        return path_.empty() ? NSString() : NSString(path_);
    }

  private:
    std::mutex mutex_;
    std::string path_;
    pid_t owner_ = 0;
};

}  // namespace

NSString NSTemporaryDirectory() {
    static ProcessDirectory directory;
    return directory.path();
}

}  // namespace TWQuickTime
