// The columns that make up a sample table, each with its sparse index for look-ups.
//
// A column reads rows where they lie (TableBytes). An index holds the running totals at every
// 256th row: 16 bytes for 2 KiB of table. It is made at the first look-up that needs it.
#pragma once

#include <cstdint>
#include <optional>

#include "Engines/timeline/LazyIndex.h"
#include "Engines/timeline/TableBytes.h"

namespace TWQuickTime::timeline {

/// Rows of {sample count, 32-bit value}: durations ('stts') or composition offsets ('ctts').
class RunColumn {
  public:
    /// A row, and the totals of all rows before it.
    struct Position {
        std::size_t row = 0;
        std::uint64_t firstSample = 0;
        std::int64_t firstSum = 0;  ///< sum of count · value, value taken as unsigned
    };

    RunColumn() = default;
    explicit RunColumn(SharedBytes rows) : rows_(std::move(rows)) {}

    std::size_t rowCount() const { return rows_.size() / 8; }
    std::uint32_t count(std::size_t row) const { return rows_.u32(row * 8); }
    std::uint32_t value(std::size_t row) const { return rows_.u32(row * 8 + 4); }

    /// Samples that the rows speak of.
    std::uint64_t totalCount() const { return end().firstSample; }
    /// The sum of all values, saturating.
    std::int64_t totalDuration() const { return end().firstSum; }
    /// The position after the last row.
    Position end() const;
    /// The row of a sample; the end for samples past the last row.
    Position ofSample(std::uint64_t sample) const;
    /// The row whose range of sums covers `sum` (at least 0); the end past the last row.
    Position ofSum(std::int64_t sum) const;
    /// The position after `position`.
    Position after(Position position) const;

    void append(std::uint32_t count, std::uint32_t value);
    std::span<const std::byte> rows() const { return rows_.bytes(); }

  private:
    Position scan(Position from, std::uint64_t untilSample, std::int64_t untilSum) const;

    TableBytes rows_;
    LazyIndex<Position> index_;
};

/// Rows of sample numbers counted from 1, ascending ('stss', 'stps'). Absent: no statement.
class NumberColumn {
  public:
    NumberColumn() = default;
    explicit NumberColumn(SharedBytes rows) : present_(true), rows_(std::move(rows)) {}

    bool present() const { return present_; }
    std::size_t rowCount() const { return rows_.size() / 4; }
    std::uint32_t number(std::size_t row) const { return rows_.u32(row * 4); }
    /// The first row whose number is at least `number`.
    std::size_t firstRowFrom(std::uint32_t number) const;
    bool contains(std::uint32_t number) const;
    void append(std::uint32_t number);
    std::span<const std::byte> rows() const { return rows_.bytes(); }

  private:
    bool present_ = false;
    TableBytes rows_;
};

/// The sizes of all samples ('stsz', 'stz2').
class SizeColumn {
  public:
    SizeColumn() = default;
    /// All samples of one size, no rows.
    static SizeColumn common(std::uint32_t sizeInBytes, std::uint32_t count);
    /// @param bitsPerRow  4, 8, 16 or 32
    static SizeColumn listed(SharedBytes rows, std::uint32_t count, unsigned bitsPerRow);
    /// Sound whose samples are frames of packets: only multiples of a packet have a size.
    void setPackets(std::uint32_t framesPerPacket, std::uint32_t bytesPerPacket);

    std::uint32_t count() const { return count_; }
    std::uint32_t commonSize() const { return commonSize_; }
    unsigned bitsPerRow() const { return bitsPerRow_; }
    bool inPackets() const { return framesPerPacket_ != 0; }
    std::uint32_t framesPerPacket() const { return framesPerPacket_; }
    std::uint32_t size(std::uint32_t sample) const;
    /// The bytes of samples `first` up to `end`, exclusive; samples that do not exist count 0.
    std::uint64_t sizeOfRange(std::uint32_t first, std::uint32_t end) const;

    void append(std::uint32_t sizeInBytes, std::uint32_t count);
    std::span<const std::byte> rows() const { return rows_.bytes(); }

  private:
    std::uint64_t sumBefore(std::uint32_t sample) const;
    void list();

    std::uint32_t count_ = 0;
    std::uint32_t commonSize_ = 0;
    unsigned bitsPerRow_ = 32;
    std::uint32_t framesPerPacket_ = 0;
    std::uint32_t bytesPerPacket_ = 0;
    TableBytes rows_;
    LazyIndex<std::uint64_t> index_;
};

/// Which samples each chunk holds and where it lies ('stsc' with 'stco' or 'co64').
class ChunkColumn {
  public:
    /// A chunk, and the first sample in it.
    struct Position {
        std::size_t row = 0;  ///< of 'stsc'
        std::uint32_t chunk = 0;
        std::uint64_t firstSample = 0;
        std::uint32_t sampleCount = 0;
        std::uint32_t descriptionIndex = 1;
    };

    ChunkColumn() = default;
    /// @param runs  rows of {first chunk from 1, samples per chunk, description index}
    /// @param wide  offsets of 64 bits, else 32
    ChunkColumn(SharedBytes runs, SharedBytes offsets, bool wide);

    std::uint32_t chunkCount() const;
    bool wide() const { return wide_; }
    std::uint64_t offset(std::uint32_t chunk) const;
    void setOffset(std::uint32_t chunk, std::uint64_t offset);
    /// The chunk that holds a sample; none past the last one or in a table that goes backward.
    std::optional<Position> ofSample(std::uint64_t sample) const;
    std::optional<Position> ofChunk(std::uint32_t chunk) const;
    /// The next chunk; none after the last one.
    std::optional<Position> after(const Position& position) const;
    /// Whether the runs go forward, begin with chunk 1 and stay within the chunks.
    bool ordered() const;
    /// Samples in all chunks.
    std::uint64_t totalSamples() const;

    void appendChunk(std::uint64_t offset, std::uint32_t samples, std::uint32_t descriptionIndex);
    /// Adds samples to the last chunk.
    void growLastChunk(std::uint32_t samples);
    std::span<const std::byte> runs() const { return runs_.bytes(); }
    std::span<const std::byte> offsets() const { return offsets_.bytes(); }

  private:
    std::size_t runCount() const { return runs_.size() / 12; }
    std::uint32_t firstChunk(std::size_t row) const { return runs_.u32(row * 12); }
    std::uint32_t samplesPerChunk(std::size_t row) const { return runs_.u32(row * 12 + 4); }
    std::uint32_t endChunk(std::size_t row) const;
    void widen();

    TableBytes runs_;
    TableBytes offsets_;
    bool wide_ = false;
    LazyIndex<std::uint64_t> index_;  ///< first sample of every 256th run
};

/// One byte for each sample about who depends on whom ('sdtp'). Absent: no statement.
struct DependencyColumn {
    bool present = false;
    TableBytes rows;
};

struct SampleColumns {
    RunColumn times;
    RunColumn composition;
    NumberColumn sync;
    NumberColumn partialSync;
    SizeColumn sizes;
    ChunkColumn chunks;
    DependencyColumn dependencies;
    /// Set by whoever changes the samples (all columns) or only where they lie.
    bool samplesChanged = false;
    bool placementChanged = false;
    bool changed() const { return samplesChanged || placementChanged; }
};

}  // namespace TWQuickTime::timeline
