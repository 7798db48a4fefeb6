#include "Engines/moviefile/DataCopier.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace TWQuickTime::moviefile {
namespace {

using result::Failure;
using result::FailureKind;
using result::Status;

// From this size on a range is read by itself instead of with what follows it in its store.
constexpr std::uint64_t largeSizeInBytes = 64 * 1024;
// Below it sharing extents costs more than it saves.
constexpr std::uint64_t leastSharedSizeInBytes = 1 << 20;
constexpr std::uint64_t greatestSharedSizeInBytes = std::uint64_t{256} << 20;
constexpr std::size_t windowSizeInBytes = 64 * 1024;
constexpr std::size_t greatestWindowCount = 32;
// A range that begins this near behind a window is taken for the continuation of a sequence.
constexpr std::uint64_t greatestGapInBytes = 64 * 1024;
constexpr std::uint64_t reportDistanceInBytes = 4 << 20;

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
      writer_(destination, offset),
      progress_(std::move(progress)),
      start_(offset) {}

Status DataCopier::add(const timeline::SampleStore& store, std::uint64_t offset,
                       std::uint64_t sizeInBytes) {
    if (sizeInBytes == 0)
        return {};
    if (pending_.store == &store && pending_.offset + pending_.sizeInBytes == offset) {
        pending_.sizeInBytes += sizeInBytes;
        return {};
    }
    if (Status copied = copyPending(); !copied) {
        writer_.giveUp();
        return copied;
    }
    pending_ = {&store, offset, sizeInBytes};
    return {};
}

Status DataCopier::finish() {
    if (Status copied = copyPending(); !copied) {
        writer_.giveUp();
        return copied;
    }
    return writer_.flush();
}

Status DataCopier::copyPending() {
    Range range = std::exchange(pending_, {});
    if (sharing_ && range.sizeInBytes >= leastSharedSizeInBytes) {
        if (Status shared = shareExtents(range); !shared)
            return shared;
    }
    const bool isLarge = range.sizeInBytes >= largeSizeInBytes;
    while (range.sizeInBytes != 0) {
        const std::span<std::byte> room = writer_.room();
        const auto size =
            static_cast<std::size_t>(std::min<std::uint64_t>(range.sizeInBytes, room.size()));
        const Status read = isLarge ? range.store->read(range.offset, room.first(size))
                                    : readSmall(range, room.first(size));
        if (!read)
            return read;
        if (Status taken = writer_.take(size); !taken)
            return taken;
        range.offset += size;
        range.sizeInBytes -= size;
        if (Status reported = report(); !reported)
            return reported;
    }
    return {};
}

/// Reads the beginning of the range.
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

/// Shares what can be shared of the beginning of the range, and takes it off.
Status DataCopier::shareExtents(Range& range) {
    const int source = range.store->descriptor();
    const int destination = destination_.fileDescriptor();
    sharing_ = source >= 0 && destination >= 0;
    if (!sharing_ || range.offset % sharingUnitInBytes != 0 ||
        writer_.offset() % sharingUnitInBytes != 0)
        return {};
    if (Status flushed = writer_.flush(); !flushed)
        return flushed;
    while (range.sizeInBytes >= leastSharedSizeInBytes) {
        const std::uint64_t size = std::min(range.sizeInBytes, greatestSharedSizeInBytes) /
                                   sharingUnitInBytes * sharingUnitInBytes;
        sharing_ = cloneRange(source, range.offset, destination, writer_.offset(), size);
        if (!sharing_)
            return {};
        writer_.skip(size);
        range.offset += size;
        range.sizeInBytes -= size;
        if (Status reported = report(); !reported)
            return reported;
    }
    return {};
}

Status DataCopier::report() {
    const std::uint64_t copied = writer_.offset() - start_;
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
