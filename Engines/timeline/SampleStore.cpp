#include "Engines/timeline/SampleStore.h"

#include <algorithm>

namespace TWQuickTime::timeline {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

Expected<std::uint64_t> SampleStore::append(std::span<const std::byte>) {
    return Failure{FailureKind::permission, "this place for sample data cannot be written to"};
}

std::uint64_t MemorySampleStore::size() const {
    std::lock_guard lock(mutex_);
    return bytes_.size();
}

Status MemorySampleStore::read(std::uint64_t offset, std::span<std::byte> into) const {
    std::lock_guard lock(mutex_);
    if (offset > bytes_.size() || into.size() > bytes_.size() - offset)
        return Failure{FailureKind::truncated,
                       "sample data end at " + std::to_string(bytes_.size()) + ", wanted " +
                           std::to_string(into.size()) + " bytes at " + std::to_string(offset)};
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
    return {};
}

Expected<std::uint64_t> MemorySampleStore::append(std::span<const std::byte> bytes) {
    std::lock_guard lock(mutex_);
    const std::uint64_t offset = bytes_.size();
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return offset;
}

}  // namespace TWQuickTime::timeline
