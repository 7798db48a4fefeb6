#include "Engines/moviefile/StorageSampleStore.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;
using timeline::SharedBytes;

namespace {

/// From here on a mapping costs less than reading.
constexpr std::uint64_t kLeastMappedSizeInBytes = 256 * 1024;

Expected<SharedBytes> mapRange(const Storage& storage, std::uint64_t offset, std::size_t size) {
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t start = offset / page * page;
    const std::size_t length = size + static_cast<std::size_t>(offset - start);
    void* address = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, storage.fileDescriptor(),
                         static_cast<off_t>(start));
    if (address == MAP_FAILED)
        return result::systemFailure(errno, storage.name() + ": cannot be mapped");
    std::shared_ptr<const void> owner(address, [length](void* mapped) { munmap(mapped, length); });
    const auto* first = static_cast<const std::byte*>(address) + (offset - start);
    return SharedBytes({first, size}, std::move(owner));
}

}  // namespace

StorageSampleStore::StorageSampleStore(std::shared_ptr<const Storage> storage, std::string path)
    : storage_(std::move(storage)), path_(std::move(path)) {}

std::uint64_t StorageSampleStore::size() const {
    const auto size = storage_->sizeInBytes();
    return size ? *size : 0;
}

Status StorageSampleStore::read(std::uint64_t offset, std::span<std::byte> into) const {
    return storage_->readExactly(offset, into);
}

Expected<SharedBytes> viewRange(const Storage& storage, std::uint64_t offset,
                                std::uint64_t sizeInBytes) {
    const auto available = storage.sizeInBytes();
    if (!available)
        return available.failure();
    if (offset > *available || sizeInBytes > *available - offset)
        return Failure{FailureKind::truncated,
                       storage.name() + ": ends at " + std::to_string(*available) + ", wanted " +
                           std::to_string(sizeInBytes) + " bytes at " + std::to_string(offset)};
    if (storage.fileDescriptor() >= 0 && sizeInBytes >= kLeastMappedSizeInBytes)
        return mapRange(storage, offset, static_cast<std::size_t>(sizeInBytes));
    std::vector<std::byte> bytes(static_cast<std::size_t>(sizeInBytes));
    if (const Status read = storage.readExactly(offset, bytes); !read)
        return read.failure();
    return SharedBytes::adopt(std::move(bytes));
}

}  // namespace TWQuickTime::moviefile
