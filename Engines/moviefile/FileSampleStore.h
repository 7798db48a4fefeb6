// A file as a store of samples, open for reading.
//
// Sample data are read, never mapped: a file that somebody else cuts short gives a failure, not a
// signal. Only what `map` was asked for is mapped.
#pragma once

#include <memory>
#include <string>

#include "Engines/result/Result.h"
#include "Engines/timeline/SampleStore.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::moviefile {

class FileSampleStore : public timeline::SampleStore {
  public:
    /// `notFound`, `permission` or `io`; folders and devices are `badArgument`.
    static result::Expected<std::shared_ptr<FileSampleStore>> open(const std::string& path);
    ~FileSampleStore() override;
    FileSampleStore(const FileSampleStore&) = delete;
    FileSampleStore& operator=(const FileSampleStore&) = delete;

    std::uint64_t size() const override;
    result::Status read(std::uint64_t offset, std::span<std::byte> into) const override;
    std::string path() const override { return path_; }
    int descriptor() const override { return descriptor_; }

  private:
    FileSampleStore(int descriptor, std::string path);

    int descriptor_;
    std::string path_;
};

/// A range of a store as bytes: mapped when the store has a descriptor, else read into memory.
/// The mapping outlives the store. `truncated` when the store is shorter.
result::Expected<timeline::SharedBytes> mapRange(const timeline::SampleStore& store,
                                                 std::uint64_t offset, std::uint64_t sizeInBytes);

}  // namespace TWQuickTime::moviefile
