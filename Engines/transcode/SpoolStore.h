// Samples in a file without a name, which goes with the store.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "Engines/timeline/SampleStore.h"

namespace TWQuickTime::transcode {

class SpoolStore final : public timeline::SampleStore {
  public:
    /// In the folder that `TMPDIR` names, else in "/tmp".
    static result::Expected<std::unique_ptr<SpoolStore>> make();
    ~SpoolStore() override;
    SpoolStore(const SpoolStore&) = delete;
    SpoolStore& operator=(const SpoolStore&) = delete;

    std::uint64_t size() const override { return size_; }
    result::Status read(std::uint64_t offset, std::span<std::byte> into) const override;
    result::Expected<std::uint64_t> append(std::span<const std::byte> bytes) override;
    int descriptor() const override { return descriptor_; }

  private:
    explicit SpoolStore(int descriptor) : descriptor_(descriptor) {}

    int descriptor_;
    std::uint64_t size_ = 0;
};

}  // namespace TWQuickTime::transcode
