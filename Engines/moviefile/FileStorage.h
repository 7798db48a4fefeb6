// A storage that is a file of the file system.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Engines/moviefile/Storage.h"

namespace TWQuickTime::moviefile {

enum class Access {
    read,       ///< writes fail with `permission`
    readWrite,  ///< the file must exist and be writable
};

/// Owns one open file; closes it with the object. Interrupted and short system calls are continued.
class FileStorage final : public Storage {
  public:
    /// Opens an existing regular file.
    static result::Expected<std::unique_ptr<FileStorage>> open(const std::string& path,
                                                               Access access);

    /// Makes a new, empty file, open for reading and writing.
    /// @return `exists` where something is at the path already
    static result::Expected<std::unique_ptr<FileStorage>> createNew(const std::string& path);

    /// Makes the file empty, or makes it; open for reading and writing.
    static result::Expected<std::unique_ptr<FileStorage>> createOrEmpty(const std::string& path);

    /// Takes over an open descriptor.
    FileStorage(int fileDescriptor, std::string path);
    ~FileStorage() override;

    const std::string& name() const override { return path_; }
    result::Expected<std::uint64_t> sizeInBytes() const override;
    result::Expected<std::size_t> read(std::uint64_t offset,
                                       std::span<std::byte> into) const override;
    result::Status write(std::uint64_t offset, std::span<const std::byte> bytes) override;
    result::Status writeUncached(std::uint64_t offset, std::span<const std::byte> bytes) override;
    result::Status sync() override;
    void beginWriteBack(std::uint64_t offset, std::uint64_t sizeInBytes) override;
    result::Status truncate(std::uint64_t sizeInBytes) override;
    int fileDescriptor() const override { return descriptor_; }

  private:
    result::Failure failure(const char* what, int systemError) const;
    bool opensUncached();
    std::size_t writeWholeUnits(std::uint64_t offset, std::span<const std::byte> bytes);

    int descriptor_;
    std::optional<int> uncached_;  ///< the same file past the cache; -1: it cannot do that
    std::string path_;
};

/// Makes changes of names in the folder that holds `path` survive a power failure.
result::Status syncFolderOf(const std::string& path);

}  // namespace TWQuickTime::moviefile
