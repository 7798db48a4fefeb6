#include "Engines/moviefile/MediaDataWriter.h"

#include <array>
#include <limits>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/BigEndian.h"
#include "Engines/moviefile/FileSurvey.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Status;

namespace {

/// In front of the atom, for the longer header that it needs past 4 GiB.
constexpr std::uint64_t roomSizeInBytes = 8;

}  // namespace

MediaDataWriter::MediaDataWriter(Storage& storage, std::size_t bufferSizeInBytes)
    : storage_(storage), capacity_(bufferSizeInBytes) {}

Status MediaDataWriter::begin() {
    const Expected<std::uint64_t> place = prepareToAppend(storage_);
    if (!place)
        return place.failure();
    std::array<std::byte, 16> headers;
    storeU32(std::span(headers).first<4>(), roomSizeInBytes);
    storeU32(std::span(headers).subspan<4, 4>(), typeWide);
    storeU32(std::span(headers).subspan<8, 4>(), 0);
    storeU32(std::span(headers).subspan<12, 4>(), typeMediaData);
    if (Status written = storage_.write(*place, headers); !written)
        return written;
    open_ = true;
    atomOffset_ = *place;
    writtenEnd_ = *place + headers.size();
    return {};
}

Expected<std::uint64_t> MediaDataWriter::append(std::span<const std::byte> bytes) {
    if (!open_) {
        if (const Status begun = begin(); !begun)
            return begun.failure();
    }
    if (buffer_.size() + bytes.size() > capacity_) {
        if (const Status flushed = flush(); !flushed)
            return flushed.failure();
    }
    const std::uint64_t offset = endOffset();
    if (bytes.size() < capacity_) {
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    } else {
        if (const Status written = writeAtEnd(bytes); !written)
            return written.failure();
    }
    return offset;
}

Status MediaDataWriter::flush() {
    if (buffer_.empty())
        return {};
    if (Status written = writeAtEnd(buffer_); !written)
        return written;
    buffer_.clear();
    return {};
}

Status MediaDataWriter::writeAtEnd(std::span<const std::byte> bytes) {
    Status written = storage_.write(writtenEnd_, bytes);
    if (written)
        writtenEnd_ += bytes.size();
    else
        tailUncertain_ = true;
    return written;
}

Status MediaDataWriter::finish() {
    if (!open_)
        return {};
    if (Status flushed = flush(); !flushed)
        return flushed;
    if (tailUncertain_) {
        if (Status cut = storage_.truncate(writtenEnd_); !cut)
            return cut;
        tailUncertain_ = false;
    }
    if (const Expected<std::uint64_t> settled = prepareToAppend(storage_); !settled)
        return settled.failure();
    if (Status freed = freeUnusedRoom(); !freed)
        return freed;
    open_ = false;
    writtenEnd_ = 0;
    return {};
}

/// Programs that check files find fault with a second 'wide', and the atom grows no more.
Status MediaDataWriter::freeUnusedRoom() {
    const std::uint64_t sizeInBytes = writtenEnd_ - (atomOffset_ + roomSizeInBytes);
    if (sizeInBytes > std::numeric_limits<std::uint32_t>::max())
        return {};
    std::array<std::byte, 4> type;
    storeU32(type, typeFree);
    return storage_.write(atomOffset_ + 4, type);
}

Status MediaDataWriter::discard() {
    if (!open_)
        return {};
    if (Status cut = storage_.truncate(atomOffset_); !cut)
        return cut;
    buffer_.clear();
    tailUncertain_ = false;
    open_ = false;
    writtenEnd_ = 0;
    return {};
}

}  // namespace TWQuickTime::moviefile
