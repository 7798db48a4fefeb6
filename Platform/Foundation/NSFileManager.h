// Makes, finds and deletes files by path.
//
//     auto& manager = NSFileManager::defaultManager();
//     if (!manager.fileExistsAtPath(path))
//         manager.createFileAtPath(path, nullptr, nullptr);
#pragma once

#include "NSData.h"
#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Attribute of files: the permission bits, as a number.
inline constexpr const char* NSFilePosixPermissions = "NSFilePosixPermissions";

/// Paths are taken as they are: a tilde is not expanded. Nil, empty and paths with a NUL character
/// name no file. Any thread.
class TWQT_EXPORT NSFileManager {
  public:
    static NSFileManager& defaultManager();

    /// Makes the file with these contents, or replaces those of an existing one.
    /// (createFileAtPath:contents:attributes:)
    /// @param contents    nil for an empty file
    /// @param attributes  NSFilePosixPermissions is honoured, others are ignored; may be nil
    /// @return whether the file is there with all its contents
    bool createFileAtPath(const NSString& path, const NSData& contents,
                          const NSDictionary& attributes) const;
    /// Deletes a file, a link (not what it leads to), or a directory with all that is in it; never
    /// the root, "." or "..".       (removeFileAtPath:handler:)
    /// @return false when there was nothing, or something could not be deleted
    bool removeFileAtPath(const NSString& path) const;
    /// Whether something is there; a link counts by what it leads to.
    /// (fileExistsAtPath:, fileExistsAtPath:isDirectory:)
    /// @param isDirectory  set when the result is true; may be null
    bool fileExistsAtPath(const NSString& path, bool* isDirectory = nullptr) const;

  private:
    NSFileManager() = default;
};

}  // namespace TWQuickTime
