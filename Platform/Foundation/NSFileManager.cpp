#include "NSFileManager.h"

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <system_error>

namespace TWQuickTime {
namespace {

/// A path with a NUL inside would name another file than the one that was meant.
bool namesAFile(const NSString& path) {
    return !path.utf8().empty() && path.utf8().find('\0') == std::string::npos;
}

}  // namespace

NSFileManager& NSFileManager::defaultManager() {
    static NSFileManager manager;
    return manager;
}

bool NSFileManager::createFileAtPath(const NSString& path, const NSData& contents,
                                     const NSDictionary& attributes) const {
    const NSData written = contents ? contents : NSData(std::vector<std::byte>());
    if (!namesAFile(path) || !written.writeToFile(path, false))
        return false;
    const PropertyListValue& permissions = attributes.objectForKey(NSFilePosixPermissions);
    return !permissions.isNumber() ||
           ::chmod(path.fileSystemRepresentation(),
                   static_cast<mode_t>(permissions.unsignedLongLongValue() & 07777)) == 0;
}

bool NSFileManager::removeFileAtPath(const NSString& path) const {
    const NSString name = path.lastPathComponent();
    if (!namesAFile(path) || name == "/" || name == "." || name == "..")
        return false;
    // A slash at the end would follow a link.
    const std::string withoutSlash =
        path.stringByDeletingLastPathComponent().stringByAppendingPathComponent(name).utf8();
    std::error_code failure;
    const std::uintmax_t removed = std::filesystem::remove_all(withoutSlash, failure);
    return !failure && removed > 0;
}

bool NSFileManager::fileExistsAtPath(const NSString& path, bool* isDirectory) const {
    struct stat status {};
    if (!namesAFile(path) || ::stat(path.fileSystemRepresentation(), &status) != 0)
        return false;
    if (isDirectory)
        *isDirectory = S_ISDIR(status.st_mode);
    return true;
}

}  // namespace TWQuickTime
