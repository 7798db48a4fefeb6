// Which samples each chunk of a media holds, and where it lies ('stsc' with 'stco' or 'co64').
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Engines/timeline/LazyIndex.h"
#include "Engines/timeline/TableBytes.h"

namespace TWQuickTime::timeline {

class ChunkColumn {
  public:
    /// A chunk (from 0), and the first sample (from 0) in it.
    struct Position {
        std::size_t run = 0;
        std::uint32_t chunk = 0;
        std::uint64_t firstSample = 0;
        std::uint32_t sampleCount = 0;
        std::uint32_t descriptionIndex = 1;
        std::uint64_t endSample() const { return firstSample + sampleCount; }
    };

    ChunkColumn() = default;
    /// @param runs  rows of {first chunk from 1, samples per chunk, description index}
    /// @param wide  offsets of 64 bits, else 32
    ChunkColumn(SharedBytes runs, SharedBytes offsets, bool wide);

    std::uint32_t chunkCount() const;
    bool wide() const { return wide_; }
    std::uint64_t offset(std::uint32_t chunk) const;
    void setOffset(std::uint32_t chunk, std::uint64_t offset);

    /// The chunk that holds a sample; none past the last one, and none past the first run that
    /// goes backward.
    std::optional<Position> ofSample(std::uint64_t sample) const;
    std::optional<Position> ofChunk(std::uint32_t chunk) const;
    /// The next chunk; none after the last one.
    std::optional<Position> after(const Position& position) const;
    /// Whether the runs begin with chunk 1, go forward and stay within the chunks.
    bool ordered() const;
    /// Samples in all chunks.
    std::uint64_t totalSamples() const;

    /// Appending wants ordered runs.
    void appendChunk(std::uint64_t offset, std::uint32_t samples, std::uint32_t descriptionIndex);
    /// Adds samples to the last chunk.
    void growLastChunk(std::uint32_t samples);

    std::span<const std::byte> runs() const { return runs_.bytes(); }
    std::span<const std::byte> offsets() const { return offsets_.bytes(); }

  private:
    struct Index {
        std::vector<std::uint64_t> firstSamples;  ///< of every 256th run
        std::size_t orderedRuns = 0;
    };

    std::size_t runCount() const { return runs_.size() / 12; }
    std::uint32_t firstChunk(std::size_t run) const { return runs_.u32(run * 12); }
    std::uint32_t samplesPerChunk(std::size_t run) const { return runs_.u32(run * 12 + 4); }
    std::uint32_t descriptionIndex(std::size_t run) const { return runs_.u32(run * 12 + 8); }
    /// The chunk (from 1) after the last one of a run.
    std::uint32_t endChunk(std::size_t run) const;
    std::uint64_t samplesInRun(std::size_t run) const;
    std::uint64_t firstSampleOfRun(std::size_t run) const;
    const Index& index() const;
    void appendRun(std::uint32_t chunk, std::uint32_t samples, std::uint32_t description);
    void dropLastRun();
    void widen();

    TableBytes runs_;
    TableBytes offsets_;
    bool wide_ = false;
    LazyIndex<Index> index_;
};

}  // namespace TWQuickTime::timeline
