// The sizes of all samples of a media ('stsz', 'stz2').
#pragma once

#include <cstdint>
#include <vector>

#include "Engines/timeline/LazyIndex.h"
#include "Engines/timeline/TableBytes.h"

namespace TWQuickTime::timeline {

class SizeColumn {
  public:
    SizeColumn() = default;
    /// All samples of one size, no rows.
    static SizeColumn common(std::uint32_t sizeInBytes, std::uint32_t count);
    /// @param bitsPerRow  4, 8, 16 or 32
    static SizeColumn listed(SharedBytes rows, std::uint32_t count, unsigned bitsPerRow);
    /// For classic compressed sound, where a sample is one frame and data come in packets: the
    /// first frame of a packet (counted from the chunk's start) has the packet's size, all others
    /// have 0.
    void setPackets(std::uint32_t framesPerPacket, std::uint32_t bytesPerPacket);

    std::uint32_t count() const { return count_; }
    /// 0 when sizes are listed.
    std::uint32_t commonSize() const { return commonSize_; }
    unsigned bitsPerRow() const { return bitsPerRow_; }
    bool inPackets() const { return framesPerPacket_ != 0; }

    /// The size of a sample; 0 for one that does not exist.
    std::uint32_t size(std::uint32_t sample) const { return sizeInChunk(sample, 0); }
    /// As above; `firstInChunk` tells where packets begin.
    std::uint32_t sizeInChunk(std::uint32_t sample, std::uint32_t firstInChunk) const;
    /// The bytes of samples `first` up to `end`, exclusive; samples that do not exist count 0.
    std::uint64_t sizeOfRange(std::uint32_t first, std::uint32_t end) const;

    void append(std::uint32_t sizeInBytes, std::uint32_t count);
    std::span<const std::byte> rows() const { return rows_.bytes(); }

  private:
    std::uint32_t row(std::uint32_t sample) const;
    /// The bytes of all samples before one, of listed sizes.
    std::uint64_t sumBefore(std::uint32_t sample) const;
    /// Turns whatever form the sizes have into rows of 32 bits.
    void listAll();

    std::uint32_t count_ = 0;
    std::uint32_t commonSize_ = 0;
    unsigned bitsPerRow_ = 32;
    std::uint32_t framesPerPacket_ = 0;
    std::uint32_t bytesPerPacket_ = 0;
    TableBytes rows_;
    LazyIndex<std::vector<std::uint64_t>> index_;  ///< sum before every 256th sample
};

}  // namespace TWQuickTime::timeline
