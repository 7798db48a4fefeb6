#include "Engines/moviefile/OuterAtoms.h"

#include <algorithm>
#include <cstring>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/BigEndian.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::FailureKind;

Expected<std::size_t> OuterAtomWalker::headerBytes(std::span<std::byte> into) {
    const std::size_t wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size_ - offset_));
    if (offset_ < windowOffset_ || offset_ + wanted > windowOffset_ + windowSize_) {
        const Expected<std::size_t> count = storage_->read(offset_, window_);
        if (!count)
            return count.failure();
        windowOffset_ = offset_;
        windowSize_ = *count;
        if (*count < wanted)
            return Failure{FailureKind::truncated, storage_->name() + " shrank while it was read"};
    }
    std::memcpy(into.data(), window_.data() + (offset_ - windowOffset_), wanted);
    return wanted;
}

Expected<std::optional<OuterAtom>> OuterAtomWalker::next() {
    if (!started_) {
        const Expected<std::uint64_t> size = storage_->sizeInBytes();
        if (!size)
            return size.failure();
        size_ = *size;
        started_ = true;
    }
    if (offset_ >= size_ || size_ - offset_ < 8)
        return std::optional<OuterAtom>();

    std::array<std::byte, 16> header{};
    const Expected<std::size_t> count = headerBytes(header);
    if (!count)
        return count.failure();

    OuterAtom atom;
    atom.offset = offset_;
    atom.type = loadU32(std::span(header).subspan<4, 4>());
    std::uint64_t stored = loadU32(std::span(header).first<4>());
    const std::uint64_t room = size_ - offset_;
    const auto damaged = [&](const char* what) {
        return Failure{FailureKind::damaged,
                       storage_->name() + " @ " + std::to_string(offset_) + ": " + what};
    };
    if (stored == 0) {
        atom.toEndOfFile = true;
        stored = room;
    } else if (stored == 1) {
        if (*count < 16) {
            // Cut off inside its own header: nothing of it can be used, and nothing follows.
            atom.whole = false;
            atom.sizeInBytes = room;
            offset_ = size_;
            return std::optional(atom);
        }
        stored = loadU64(std::span(header).subspan<8, 8>());
        atom.headerSizeInBytes = 16;
    }
    if (stored < atom.headerSizeInBytes)
        return damaged("an atom smaller than its header");
    atom.whole = stored <= room;
    atom.sizeInBytes = std::min(stored, room);
    offset_ += atom.sizeInBytes;
    return std::optional(atom);
}

Expected<OuterAtom> findMovieAtom(const Storage& storage) {
    OuterAtomWalker walker(storage);
    while (true) {
        Expected<std::optional<OuterAtom>> atom = walker.next();
        if (!atom)
            return atom.failure();
        if (!*atom)
            return Failure{FailureKind::notFound, storage.name() + ": no movie atom"};
        if ((*atom)->type != typeMovie)
            continue;
        if (!(*atom)->whole)
            return Failure{FailureKind::truncated, storage.name() + " @ " +
                                                       std::to_string((*atom)->offset) +
                                                       ": the movie atom is cut off"};
        return **atom;
    }
}

}  // namespace TWQuickTime::moviefile
