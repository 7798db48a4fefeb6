// A file that takes large writes for holes, so that tests reach past 4 GiB without filling a disk.
#pragma once

#include <memory>

#include "Engines/moviefile/FileStorage.h"

namespace TWQuickTime::moviefile::test {

class HoleStorage final : public Storage {
  public:
    /// Writes from this size on only make the file longer.
    static constexpr std::size_t holeSizeInBytes = 64 * 1024;

    explicit HoleStorage(FileStorage& file) : file_(file) {}
    const std::string& name() const override { return file_.name(); }
    result::Expected<std::uint64_t> sizeInBytes() const override { return file_.sizeInBytes(); }
    result::Expected<std::size_t> read(std::uint64_t offset,
                                       std::span<std::byte> into) const override {
        return file_.read(offset, into);
    }
    result::Status write(std::uint64_t offset, std::span<const std::byte> bytes) override {
        if (bytes.size() < holeSizeInBytes)
            return file_.write(offset, bytes);
        const auto size = file_.sizeInBytes();
        if (!size)
            return size.failure();
        return *size < offset + bytes.size() ? file_.truncate(offset + bytes.size())
                                             : result::Status();
    }
    result::Status sync() override { return {}; }
    result::Status truncate(std::uint64_t sizeInBytes) override {
        return file_.truncate(sizeInBytes);
    }

  private:
    FileStorage& file_;
};

}  // namespace TWQuickTime::moviefile::test
