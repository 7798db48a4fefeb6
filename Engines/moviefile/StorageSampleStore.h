// A storage seen as a store of samples, and the part of it that is mapped.
//
// Sample data are read, never mapped: a file that somebody else cuts short gives a failure, not a
// signal.
#pragma once

#include <memory>
#include <string>

#include "Engines/moviefile/Storage.h"
#include "Engines/timeline/SampleStore.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::moviefile {

/// Reads the samples of a storage; refuses to append.
class StorageSampleStore final : public timeline::SampleStore {
  public:
    /// @param path  of the file behind the storage; "" when there is none
    StorageSampleStore(std::shared_ptr<const Storage> storage, std::string path);

    const std::shared_ptr<const Storage>& storage() const { return storage_; }

    std::uint64_t size() const override;
    result::Status read(std::uint64_t offset, std::span<std::byte> into) const override;
    std::string path() const override { return path_; }
    int descriptor() const override { return storage_->fileDescriptor(); }

  private:
    std::shared_ptr<const Storage> storage_;
    std::string path_;
};

/// A range of a storage as bytes: a large range of a file is mapped, everything else read into
/// memory. The bytes stay valid without the storage. `truncated` when the storage ends earlier.
result::Expected<timeline::SharedBytes> viewRange(const Storage& storage, std::uint64_t offset,
                                                  std::uint64_t sizeInBytes);

}  // namespace TWQuickTime::moviefile
