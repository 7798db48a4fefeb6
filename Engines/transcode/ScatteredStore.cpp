#include "Engines/transcode/ScatteredStore.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace TWQuickTime::transcode {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// How far apart pieces of one packet may lie, and how far behind a gap it goes on. A shorter reach
/// bounds the time that packets take of which nothing is in the file.
constexpr std::size_t kReachInBytes = 64 * 1024;
constexpr std::size_t kReachBehindGapInBytes = 4 * 1024;
constexpr std::size_t kWindowInBytes = 4 * kReachInBytes;
/// So many equal bytes are a piece; fewer might stand anywhere.
constexpr std::size_t kShortestPiece = 16;
/// After so many bytes that are nowhere the rest of the packet is not looked for.
constexpr std::size_t kMostMissing = 64;
/// Neighbouring pieces are read together with what lies between them, so much at a time.
constexpr std::size_t kBlockInBytes = 32 * 1024;

}  // namespace

Expected<std::uint64_t> ScatteredStore::add(std::uint64_t position,
                                            std::span<const std::byte> packet) {
    const std::uint64_t offset = size_;
    std::size_t done = 0;
    std::size_t found = 0;  // up to here every byte has its place
    while (done < packet.size() && done - found < kMostMissing) {
        const Piece piece = find(position, done > found ? kReachBehindGapInBytes : kReachInBytes,
                                 packet.subspan(done));
        if (piece.length == 0) {
            ++done;
            continue;
        }
        if (const Status status = keep(packet.subspan(found, done - found)); !status) {
            return status.failure();
        }
        addPiece(piece.from, static_cast<std::uint32_t>(piece.length), false);
        position = piece.from + piece.length;
        done += piece.length;
        found = done;
    }
    if (const Status status = keep(packet.subspan(found)); !status) {
        return status.failure();
    }
    return offset;
}

ScatteredStore::Piece ScatteredStore::find(std::uint64_t from, std::size_t reach,
                                           std::span<const std::byte> bytes) {
    const std::size_t least = std::min(bytes.size(), kShortestPiece);
    const std::span<const std::byte> near = window(from, kReachInBytes);
    if (near.empty()) {
        return {};
    }
    const void* start = memmem(near.data(), std::min(near.size(), reach), bytes.data(), least);
    if (!start) {
        return {};
    }
    const auto skipped =
        static_cast<std::size_t>(static_cast<const std::byte*>(start) - near.data());
    const std::span<const std::byte> there = near.subspan(skipped);
    const auto end = std::ranges::mismatch(there, bytes).in1;
    return {from + skipped, static_cast<std::size_t>(end - there.begin())};
}

/// Bytes of the file from there on: at least so many, unless the file ends before.
std::span<const std::byte> ScatteredStore::window(std::uint64_t from, std::size_t least) {
    const std::uint64_t end = file_->size();
    if (from >= end) {
        return {};
    }
    const std::uint64_t wanted = std::min<std::uint64_t>(from + least, end);
    if (from < windowStart_ || wanted > windowStart_ + window_.size()) {
        window_.resize(std::min<std::uint64_t>(kWindowInBytes, end - from));
        windowStart_ = from;
        if (!file_->read(from, window_)) {
            window_.clear();
        }
    }
    return std::span<const std::byte>(window_).subspan(
        std::min<std::uint64_t>(from - windowStart_, window_.size()));
}

Status ScatteredStore::keep(std::span<const std::byte> bytes) {
    if (bytes.empty()) {
        return {};
    }
    if (!kept_) {
        auto made = SpoolStore::make();
        if (!made) {
            return made.failure();
        }
        kept_ = std::move(*made);
    }
    const auto place = kept_->append(bytes);
    if (!place) {
        return place.failure();
    }
    addPiece(*place, static_cast<std::uint32_t>(bytes.size()), true);
    return {};
}

void ScatteredStore::addPiece(std::uint64_t from, std::uint32_t length, bool isKept) {
    const std::uint64_t at = size_;
    size_ += length;
    if (!rows_.empty()) {
        Row& last = rows_.back();
        const std::uint64_t end = last.from + std::uint64_t{last.count} * last.stride;
        const bool continues =
            last.count > 1 ? from == end : from > last.from && from - last.from <= kReachInBytes;
        if (!isKept && !last.isKept && last.length == length && continues) {
            last.stride =
                static_cast<std::uint32_t>(last.count > 1 ? last.stride : from - last.from);
            ++last.count;
            return;
        }
    }
    rows_.push_back({.at = at, .from = from, .length = length, .stride = length, .isKept = isKept});
}

Status ScatteredStore::read(std::uint64_t offset, std::span<std::byte> into) const {
    if (offset > size_ || into.size() > size_ - offset) {
        return Failure{FailureKind::truncated, "imported samples end", 0};
    }
    if (into.empty()) {
        return {};
    }
    auto row = std::upper_bound(rows_.begin(), rows_.end(), offset,
                                [](std::uint64_t place, const Row& r) { return place < r.at; });
    for (row = std::prev(row); !into.empty(); ++row) {
        while (!into.empty() && offset < row->at + std::uint64_t{row->length} * row->count) {
            const auto filled = readRow(*row, offset, into);
            if (!filled) {
                return filled.failure();
            }
            into = into.subspan(*filled);
            offset += *filled;
        }
    }
    return {};
}

Expected<std::size_t> ScatteredStore::readRow(const Row& row, std::uint64_t offset,
                                              std::span<std::byte> into) const {
    const std::uint64_t piece = (offset - row.at) / row.length;
    const auto within = static_cast<std::size_t>((offset - row.at) % row.length);
    const std::uint64_t from = row.from + piece * row.stride + within;
    const std::size_t inPiece = std::min<std::size_t>(row.length - within, into.size());
    const timeline::SampleStore& source = row.isKept ? *kept_ : *file_;
    const std::uint64_t last = row.from + std::uint64_t{row.count - 1} * row.stride + row.length;
    const std::size_t span = std::min<std::uint64_t>(last - from, kBlockInBytes);
    if (inPiece == into.size() || span <= inPiece) {
        if (const Status status = source.read(from, into.first(inPiece)); !status) {
            return status.failure();
        }
        return inPiece;
    }
    std::array<std::byte, kBlockInBytes> block;
    if (const Status status = source.read(from, std::span(block).first(span)); !status) {
        return status.failure();
    }
    std::size_t filled = 0;
    for (std::size_t place = 0; place < span && filled < into.size();) {
        const std::size_t left = row.length - (within + filled) % row.length;
        const std::size_t length = std::min({left, span - place, into.size() - filled});
        std::copy_n(block.data() + place, length, into.data() + filled);
        filled += length;
        place += length < left ? length : left + (row.stride - row.length);
    }
    return filled;
}

}  // namespace TWQuickTime::transcode
