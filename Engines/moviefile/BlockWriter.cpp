#include "Engines/moviefile/BlockWriter.h"

#include <new>
#include <system_error>

namespace TWQuickTime::moviefile {
namespace {

using result::Failure;
using result::FailureKind;
using result::Status;

std::byte* allocateBlock() {
    auto* bytes = static_cast<std::byte*>(
        std::aligned_alloc(uncachedUnitInBytes, BlockWriter::blockSizeInBytes));
    if (bytes == nullptr)
        throw std::bad_alloc();
    return bytes;
}

/// Bytes lie in their block as they will lie in the file, as writing past the cache demands.
constexpr std::size_t placeInBlock(std::uint64_t offset) {
    return static_cast<std::size_t>(offset % BlockWriter::blockSizeInBytes);
}

}  // namespace

BlockWriter::BlockWriter(Storage& destination, std::uint64_t offset) : destination_(destination) {
    begin(offset);
}

BlockWriter::~BlockWriter() {
    giveUp();
}

void BlockWriter::giveUp() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
        if (outcome_)
            outcome_ = Failure{FailureKind::cancelled, "writing was given up"};
    }
    changed_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

void BlockWriter::begin(std::uint64_t offset) {
    offset_ = offset;
    Block& block = filled();
    if (!block.bytes)
        block.bytes.reset(allocateBlock());
    block.start = offset;
    block.size = 0;
}

std::span<std::byte> BlockWriter::room() {
    const std::size_t place = placeInBlock(offset_);
    return {filled().bytes.get() + place, blockSizeInBytes - place};
}

Status BlockWriter::take(std::size_t count) {
    offset_ += count;
    filled().size += count;
    return count != 0 && placeInBlock(offset_) == 0 ? handOn() : Status();
}

std::span<const std::byte> BlockWriter::contents(const Block& block) const {
    return {block.bytes.get() + placeInBlock(block.start), block.size};
}

/// Leaves the block to the thread and goes on in the next one.
Status BlockWriter::handOn() {
    if (!startThread()) {
        Status written = destination_.writeUncached(filled().start, contents(filled()));
        begin(offset_);
        return written;
    }
    {
        std::unique_lock lock(mutex_);
        ++handedOn_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return handedOn_ - written_ < blockCount || !outcome_; });
        if (!outcome_)
            return outcome_;
    }
    begin(offset_);
    return {};
}

/// @return false where the system has no thread left; the caller then writes
bool BlockWriter::startThread() {
    if (!thread_.joinable()) {
        try {
            thread_ = std::thread([this] { writeBlocks(); });
        } catch (const std::system_error&) {
            return false;
        }
    }
    return true;
}

void BlockWriter::writeBlocks() {
    std::unique_lock lock(mutex_);
    while (outcome_) {
        changed_.wait(lock, [this] { return ending_ || written_ != handedOn_; });
        if (ending_)
            return;
        const Block& block = blocks_[written_ % blockCount];
        lock.unlock();
        Status written = destination_.writeUncached(block.start, contents(block));
        lock.lock();
        ++written_;
        if (!written && outcome_)
            outcome_ = std::move(written);
        changed_.notify_all();
    }
}

Status BlockWriter::flush() {
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return written_ == handedOn_ || !outcome_; });
        if (!outcome_)
            return outcome_;
    }
    const Block& block = filled();
    if (block.size == 0)
        return {};
    if (Status written = destination_.write(block.start, contents(block)); !written)
        return written;
    begin(offset_);
    return {};
}

}  // namespace TWQuickTime::moviefile
