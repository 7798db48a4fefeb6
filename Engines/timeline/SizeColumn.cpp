#include "Engines/timeline/SizeColumn.h"

#include <algorithm>

namespace TWQuickTime::timeline {

SizeColumn SizeColumn::common(std::uint32_t sizeInBytes, std::uint32_t count) {
    SizeColumn column;
    column.commonSize_ = sizeInBytes;
    column.count_ = count;
    return column;
}

SizeColumn SizeColumn::listed(SharedBytes rows, std::uint32_t count, unsigned bitsPerRow) {
    SizeColumn column;
    column.rows_ = TableBytes(std::move(rows));
    column.count_ = count;
    column.bitsPerRow_ = bitsPerRow;
    return column;
}

void SizeColumn::setPackets(std::uint32_t framesPerPacket, std::uint32_t bytesPerPacket) {
    framesPerPacket_ = framesPerPacket;
    bytesPerPacket_ = bytesPerPacket;
}

std::uint32_t SizeColumn::row(std::uint32_t sample) const {
    const auto byte = [this](std::size_t offset) {
        return static_cast<std::uint32_t>(rows_.bytes()[offset]);
    };
    switch (bitsPerRow_) {
        case 32:
            return rows_.u32(std::size_t{sample} * 4);
        case 16:
            return byte(std::size_t{sample} * 2) << 8 | byte(std::size_t{sample} * 2 + 1);
        case 8:
            return byte(sample);
        default:
            return sample % 2 == 0 ? byte(sample / 2) >> 4 : byte(sample / 2) & 0xF;
    }
}

std::uint32_t SizeColumn::sizeInChunk(std::uint32_t sample, std::uint32_t firstInChunk) const {
    if (sample >= count_)
        return 0;
    if (inPackets())
        return (sample - firstInChunk) % framesPerPacket_ == 0 ? bytesPerPacket_ : 0;
    return commonSize_ != 0 || rows_.size() == 0 ? commonSize_ : row(sample);
}

std::uint64_t SizeColumn::sumBefore(std::uint32_t sample) const {
    const auto& index = index_.get([this] {
        std::vector<std::uint64_t> entries;
        entries.reserve(count_ / kRowsPerIndexEntry + 1);
        std::uint64_t sum = 0;
        for (std::uint32_t i = 0; i < count_; ++i) {
            if (i % kRowsPerIndexEntry == 0)
                entries.push_back(sum);
            sum += row(i);
        }
        return entries;
    });
    if (index.empty())
        return 0;
    const std::size_t entry = std::min<std::size_t>(sample / kRowsPerIndexEntry, index.size() - 1);
    std::uint64_t sum = index[entry];
    for (std::size_t i = entry * kRowsPerIndexEntry; i < sample; ++i)
        sum += row(static_cast<std::uint32_t>(i));
    return sum;
}

std::uint64_t SizeColumn::sizeOfRange(std::uint32_t first, std::uint32_t end) const {
    end = std::min(end, count_);
    if (first >= end)
        return 0;
    if (inPackets()) {
        const std::uint64_t packets =
            (std::uint64_t{end} - first + framesPerPacket_ - 1) / framesPerPacket_;
        return packets * bytesPerPacket_;
    }
    if (commonSize_ != 0 || rows_.size() == 0)
        return std::uint64_t{end - first} * commonSize_;
    if (end - first <= kRowsPerIndexEntry) {
        std::uint64_t sum = 0;
        for (std::uint32_t i = first; i < end; ++i)
            sum += row(i);
        return sum;
    }
    return sumBefore(end) - sumBefore(first);
}

void SizeColumn::listAll() {
    if (commonSize_ == 0 && bitsPerRow_ == 32 && !inPackets() && (rows_.size() != 0 || !count_))
        return;
    TableBytes listed;
    for (std::uint32_t sample = 0; sample < count_; ++sample)
        listed.appendU32(size(sample));
    rows_ = std::move(listed);
    index_.reset();
    commonSize_ = 0;
    bitsPerRow_ = 32;
    framesPerPacket_ = 0;
}

void SizeColumn::append(std::uint32_t sizeInBytes, std::uint32_t count) {
    if (count == 0)
        return;
    const bool staysCommon =
        rows_.size() == 0 && sizeInBytes != 0 && (count_ == 0 || sizeInBytes == commonSize_);
    if (staysCommon) {
        // Samples in packets have a nominal size; ones of another size are as large as they say.
        if (sizeInBytes != commonSize_)
            framesPerPacket_ = 0;
        commonSize_ = sizeInBytes;
        count_ += count;
        return;
    }
    listAll();
    for (std::uint32_t i = 0; i < count; ++i) {
        auto* index = index_.ownForChange();
        if (index && count_ % kRowsPerIndexEntry == 0)
            index->push_back(sumBefore(count_));
        rows_.appendU32(sizeInBytes);
        ++count_;
    }
}

}  // namespace TWQuickTime::timeline
