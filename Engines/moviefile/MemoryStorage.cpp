#include "Engines/moviefile/MemoryStorage.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace TWQuickTime::moviefile {
namespace {

using result::Expected;
using result::Status;

// What one write may make of a storage in memory; a test that asks for more has a mistake in it.
constexpr std::uint64_t greatestSizeInBytes = std::uint64_t{1} << 32;

}  // namespace

void StorageOperation::applyTo(std::vector<std::byte>& image, std::size_t byteCount) const {
    switch (kind) {
        case Kind::sync:
            break;
        case Kind::truncate:
            image.resize(static_cast<std::size_t>(offset));
            break;
        case Kind::write: {
            const std::size_t count = std::min(byteCount, bytes.size());
            if (count == 0)
                break;
            const auto start = static_cast<std::size_t>(offset);
            if (image.size() < start + count)
                image.resize(start + count);
            std::copy_n(bytes.begin(), count, image.begin() + static_cast<std::ptrdiff_t>(start));
            break;
        }
    }
}

MemoryStorage::MemoryStorage(std::vector<std::byte> bytes, std::string name)
    : bytes_(std::move(bytes)), name_(std::move(name)) {}

void MemoryStorage::startRecording() {
    recording_ = true;
    operations_.clear();
}

void MemoryStorage::stopAfter(std::size_t operationCount, std::size_t bytesOfNextWrite) {
    fault_ = Fault{operationCount_ + operationCount, bytesOfNextWrite, EIO, true};
}

void MemoryStorage::failOperation(std::size_t index, int systemError, std::size_t bytesOfTheWrite) {
    fault_ = Fault{operationCount_ + index, bytesOfTheWrite, systemError, false};
}

Expected<std::uint64_t> MemoryStorage::sizeInBytes() const {
    return static_cast<std::uint64_t>(bytes_.size());
}

Expected<std::size_t> MemoryStorage::read(std::uint64_t offset, std::span<std::byte> into) const {
    if (offset >= bytes_.size())
        return std::size_t{0};
    const auto start = static_cast<std::size_t>(offset);
    const std::size_t count = std::min(into.size(), bytes_.size() - start);
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(start), count, into.begin());
    return count;
}

MemoryStorage::Outcome MemoryStorage::outcomeOfNext(std::size_t byteCount) {
    const std::size_t index = operationCount_++;
    if (!fault_ || index < fault_->operation)
        return {byteCount, 0};
    if (index == fault_->operation)
        return {std::min(byteCount, fault_->bytes), fault_->systemError};
    return fault_->forGood ? Outcome{0, fault_->systemError} : Outcome{byteCount, 0};
}

Status MemoryStorage::apply(StorageOperation operation) {
    Outcome outcome = outcomeOfNext(operation.bytes.size());
    if (operation.kind == StorageOperation::Kind::write) {
        const std::uint64_t room =
            operation.offset >= sizeLimit_ ? 0 : sizeLimit_ - operation.offset;
        if (outcome.bytes > room)
            outcome = {static_cast<std::size_t>(room), ENOSPC};
        operation.bytes.resize(outcome.bytes);
    }
    const bool reached = outcome.systemError == 0 ||
                         (operation.kind == StorageOperation::Kind::write && outcome.bytes > 0);
    if (reached) {
        operation.applyTo(bytes_);
        if (recording_)
            operations_.push_back(std::move(operation));
    }
    if (outcome.systemError != 0)
        return result::systemFailure(outcome.systemError,
                                     name_ + ": " + std::strerror(outcome.systemError));
    return {};
}

Status MemoryStorage::write(std::uint64_t offset, std::span<const std::byte> bytes) {
    if (offset > greatestSizeInBytes || bytes.size() > greatestSizeInBytes - offset)
        return result::systemFailure(EFBIG, name_ + ": " + std::strerror(EFBIG));
    return apply({StorageOperation::Kind::write, offset, {bytes.begin(), bytes.end()}});
}

Status MemoryStorage::sync() {
    return apply({StorageOperation::Kind::sync, 0, {}});
}

Status MemoryStorage::truncate(std::uint64_t sizeInBytes) {
    if (sizeInBytes > greatestSizeInBytes)
        return result::systemFailure(EFBIG, name_ + ": " + std::strerror(EFBIG));
    return apply({StorageOperation::Kind::truncate, sizeInBytes, {}});
}

}  // namespace TWQuickTime::moviefile
