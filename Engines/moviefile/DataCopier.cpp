#include "Engines/moviefile/DataCopier.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace TWQuickTime::moviefile {
namespace {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

// From this size on a range is copied by itself instead of being collected with others.
constexpr std::uint64_t largeSizeInBytes = 64 * 1024;
// Below it sharing extents costs more than it saves.
constexpr std::uint64_t leastSharedSizeInBytes = 1 << 20;
constexpr std::uint64_t greatestSharedSizeInBytes = std::uint64_t{256} << 20;
// Below it a call for the range alone costs more than the way through a block.
constexpr std::uint64_t leastSizeWithinSystem = 512 * 1024;
// A copy that is to be stopped waits for one call.
constexpr std::uint64_t greatestSizeWithinSystem = 4 << 20;
constexpr std::size_t windowSizeInBytes = 64 * 1024;
constexpr std::size_t greatestWindowCount = 32;
// A range that begins this near behind a window is taken for the continuation of a sequence.
constexpr std::uint64_t greatestGapInBytes = 64 * 1024;
constexpr std::uint64_t reportDistanceInBytes = 4 << 20;
constexpr std::uint64_t writeBackDistanceInBytes = 16 << 20;

bool cloneRange(int source, std::uint64_t sourceOffset, int destination,
                std::uint64_t destinationOffset, std::uint64_t sizeInBytes) {
    file_clone_range range{};
    range.src_fd = source;
    range.src_offset = sourceOffset;
    range.src_length = sizeInBytes;
    range.dest_offset = destinationOffset;
    return ::ioctl(destination, FICLONERANGE, &range) == 0;
}

}  // namespace

DataCopier::DataCopier(Storage& destination, std::uint64_t offset, Progress progress)
    : destination_(destination),
      progress_(std::move(progress)),
      start_(offset),
      writtenEnd_(offset),
      writtenBackEnd_(offset) {
    buffer_.reserve(blockSizeInBytes);
}

Status DataCopier::add(const timeline::SampleStore& store, std::uint64_t offset,
                       std::uint64_t sizeInBytes) {
    if (sizeInBytes == 0)
        return {};
    if (pending_.store == &store && pending_.offset + pending_.sizeInBytes == offset) {
        pending_.sizeInBytes += sizeInBytes;
        return {};
    }
    if (Status copied = copyPending(); !copied)
        return copied;
    pending_ = {&store, offset, sizeInBytes};
    return {};
}

Status DataCopier::finish() {
    if (Status copied = copyPending(); !copied)
        return copied;
    return flush();
}

Status DataCopier::copyPending() {
    const Range range = pending_;
    pending_ = {};
    if (range.sizeInBytes == 0)
        return {};
    return range.sizeInBytes < largeSizeInBytes ? copySmall(range) : copyLarge(range);
}

Status DataCopier::copySmall(const Range& range) {
    if (buffer_.size() + range.sizeInBytes > blockSizeInBytes) {
        if (Status flushed = flush(); !flushed)
            return flushed;
    }
    const std::size_t held = buffer_.size();
    buffer_.resize(held + static_cast<std::size_t>(range.sizeInBytes));
    return readSmall(range, std::span(buffer_).subspan(held));
}

Status DataCopier::readSmall(const Range& range, std::span<std::byte> into) {
    const Window* window = windowFor(range);
    if (!window)
        return range.store->read(range.offset, into);
    std::memcpy(into.data(), window->bytes.data() + (range.offset - window->offset), into.size());
    return {};
}

/// A window that holds the range; none when reading ahead does not look worth while.
DataCopier::Window* DataCopier::windowFor(const Range& range) {
    Window* oldest = nullptr;
    for (Window& window : windows_) {
        const std::uint64_t end = window.offset + window.bytes.size();
        if (window.store == range.store && range.offset >= window.offset &&
            range.offset <= end + greatestGapInBytes) {
            window.lastUse = ++uses_;
            if (range.offset + range.sizeInBytes <= end)
                return &window;
            const std::uint64_t storeSize = range.store->size();
            if (range.offset + range.sizeInBytes > storeSize)
                return nullptr;
            const std::uint64_t ahead =
                std::min<std::uint64_t>(windowSizeInBytes, storeSize - range.offset);
            window.offset = range.offset;
            window.bytes.resize(static_cast<std::size_t>(ahead));
            if (!range.store->read(range.offset, window.bytes)) {
                window.bytes.clear();  // the exact read that follows reports what is wrong
                return nullptr;
            }
            return &window;
        }
        if (!oldest || window.lastUse < oldest->lastUse)
            oldest = &window;
    }
    // Remember where the range ends: what continues there is a sequence.
    if (!oldest || windows_.size() < greatestWindowCount)
        oldest = &windows_.emplace_back();
    oldest->store = range.store;
    oldest->offset = range.offset + range.sizeInBytes;
    oldest->bytes.clear();
    oldest->lastUse = ++uses_;
    return nullptr;
}

Status DataCopier::copyLarge(Range range) {
    if (Status flushed = flush(); !flushed)
        return flushed;
    while (range.sizeInBytes != 0) {
        std::uint64_t done = shareExtents(range);
        if (done == 0)
            done = copyWithinSystem(range);
        if (done == 0) {
            const Expected<std::uint64_t> copied = copyBlock(range);
            if (!copied)
                return copied.failure();
            done = *copied;
        }
        range.offset += done;
        range.sizeInBytes -= done;
        if (Status advanced = advance(done); !advanced)
            return advanced;
    }
    return {};
}

/// @return how many bytes were shared; 0 where the beginning of the range has to be copied
std::uint64_t DataCopier::shareExtents(const Range& range) {
    if (!sharing_ || range.sizeInBytes < leastSharedSizeInBytes ||
        range.offset % sharingUnitInBytes != 0 || writtenEnd_ % sharingUnitInBytes != 0)
        return 0;
    const std::uint64_t size = std::min(range.sizeInBytes, greatestSharedSizeInBytes) /
                               sharingUnitInBytes * sharingUnitInBytes;
    const int source = range.store->descriptor();
    const int destination = destination_.fileDescriptor();
    if (source >= 0 && destination >= 0 &&
        cloneRange(source, range.offset, destination, writtenEnd_, size))
        return size;
    sharing_ = false;
    return 0;
}

/// Spares the way through a buffer of ours.
/// @return how many bytes were copied; 0 where the beginning of the range has to be read
std::uint64_t DataCopier::copyWithinSystem(const Range& range) {
    const int source = range.store->descriptor();
    const int destination = destination_.fileDescriptor();
    if (!withinSystem_ || range.sizeInBytes < leastSizeWithinSystem || source < 0 ||
        destination < 0)
        return 0;
    auto from = static_cast<off_t>(range.offset);
    auto to = static_cast<off_t>(writtenEnd_);
    const ssize_t copied = ::copy_file_range(
        source, &from, destination, &to,
        static_cast<std::size_t>(std::min(range.sizeInBytes, greatestSizeWithinSystem)), 0);
    // Files of two file systems, a full disk, a source that is too short: reading and writing the
    // range finds what is wrong with it.
    withinSystem_ = copied > 0;
    return withinSystem_ ? static_cast<std::uint64_t>(copied) : 0;
}

/// @return the size of the block
Expected<std::uint64_t> DataCopier::copyBlock(const Range& range) {
    // Blocks of the source that are whole spare the system a second look at a page.
    const std::uint64_t toEdge = blockSizeInBytes - range.offset % blockSizeInBytes;
    const std::uint64_t size = std::min(range.sizeInBytes, toEdge);
    buffer_.resize(static_cast<std::size_t>(size));
    Status moved = range.store->read(range.offset, buffer_);
    if (moved)
        moved = destination_.write(writtenEnd_, buffer_);
    buffer_.clear();
    if (!moved)
        return moved.failure();
    return size;
}

Status DataCopier::flush() {
    if (buffer_.empty())
        return {};
    if (Status written = destination_.write(writtenEnd_, buffer_); !written)
        return written;
    const std::uint64_t size = buffer_.size();
    buffer_.clear();
    return advance(size);
}

Status DataCopier::advance(std::uint64_t sizeInBytes) {
    writtenEnd_ += sizeInBytes;
    if (writtenEnd_ - writtenBackEnd_ >= writeBackDistanceInBytes) {
        destination_.beginWriteBack(writtenBackEnd_, writtenEnd_ - writtenBackEnd_);
        writtenBackEnd_ = writtenEnd_;
    }
    const std::uint64_t copied = writtenEnd_ - start_;
    if (!progress_ || copied < nextReport_)
        return {};
    nextReport_ = copied + reportDistanceInBytes;
    if (!progress_(copied))
        return Failure{FailureKind::cancelled, destination_.name() + ": the copy was stopped"};
    return {};
}

bool canShareExtents(const timeline::SampleStore& source, Storage& destination) {
    return source.descriptor() >= 0 && destination.fileDescriptor() >= 0 &&
           source.size() >= sharingUnitInBytes &&
           cloneRange(source.descriptor(), 0, destination.fileDescriptor(), 0, sharingUnitInBytes);
}

}  // namespace TWQuickTime::moviefile
