// A file that takes another one's place when it is complete, and not before.
//
// It is written without a name where the file system can do that, so that a program that is killed
// leaves nothing behind; else under a name of its own beside the destination.
//
//     Expected<ReplacementFile> file = ReplacementFile::create("/films/a.mov");
//     if (!file) return file.failure();
//     … file->storage().write(…) …
//     return file->commit();        // without it, everything is gone with the object
#pragma once

#include <memory>
#include <string>

#include "Engines/moviefile/FileStorage.h"

namespace TWQuickTime::moviefile {

class ReplacementFile {
  public:
    /// Makes an empty file in the folder of the destination. A destination that is a symbolic link
    /// means the file that it names; one that exists gives its permissions to the new file.
    static result::Expected<ReplacementFile> create(const std::string& destination);

    ReplacementFile(ReplacementFile&&) noexcept = default;
    ReplacementFile& operator=(ReplacementFile&&) = delete;
    ~ReplacementFile();

    /// Open for reading and writing; stays open after `commit`.
    FileStorage& storage() { return *storage_; }

    /// Syncs the file and gives it the destination's name, in one step for whoever looks. When it
    /// fails the destination is what it was.
    result::Status commit();

  private:
    ReplacementFile(std::unique_ptr<FileStorage> storage, std::string destination,
                    std::string temporaryName);
    result::Status giveName();

    std::unique_ptr<FileStorage> storage_;
    std::string destination_;
    std::string temporaryName_;  ///< empty while the file has no name
};

}  // namespace TWQuickTime::moviefile
