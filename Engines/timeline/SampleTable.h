// All samples of a media: when each is decoded and shown, whether it is a sync sample, how large
// it is and where it lies.
//
//     SampleTable::Cursor cursor = table.cursor(0);
//     for (Sample sample; cursor.next(sample);) use(sample);
//
// Samples and chunks count from 0 here, sample descriptions and data references from 1 as in
// files. Tables of a file stay views on it; indexes for look-ups are sparse and made at the first
// look-up. Const calls may run on several threads at once; changes need the table for themselves.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Engines/result/Result.h"
#include "Engines/timeline/Rescale.h"
#include "Engines/timeline/SampleColumns.h"

namespace TWQuickTime::timeline {

/// One sample as it is stored.
struct Sample {
    std::uint32_t index = 0;             ///< from 0, in decode order
    std::int64_t decodeTime = 0;         ///< media time units
    std::uint32_t duration = 0;          ///< media time units
    std::int32_t compositionOffset = 0;  ///< shown at decodeTime + compositionOffset
    bool sync = true;                    ///< decoding may start here
    bool partialSync = false;  ///< as sync, but pictures shown before it need earlier ones
    std::uint32_t sizeInBytes = 0;
    std::uint64_t offset = 0;            ///< in the store of its data reference
    std::uint32_t descriptionIndex = 1;  ///< from 1
    std::uint32_t chunkIndex = 0;        ///< from 0
    std::int64_t displayTime() const { return addSaturating(decodeTime, compositionOffset); }
};

/// Samples that follow each other in the data of one chunk.
struct ChunkRun {
    std::uint32_t chunkIndex = 0;
    std::uint32_t firstSample = 0;
    std::uint32_t sampleCount = 0;
    std::uint64_t offset = 0;  ///< in the store of its data reference
    std::uint64_t sizeInBytes = 0;
    std::int64_t decodeTime = 0;  ///< of the first sample, media time units
    std::uint32_t descriptionIndex = 1;
};

/// Equal samples to append, one after the other in the data.
struct NewSamples {
    std::uint64_t offset = 0;       ///< of the first one, in the store of its data reference
    std::uint32_t sizeInBytes = 0;  ///< of each
    std::uint32_t count = 1;
    std::uint32_t duration = 0;  ///< of each, media time units
    std::int32_t compositionOffset = 0;
    std::uint32_t descriptionIndex = 1;
    bool sync = true;
};

/// Where a chunk lies after its data were copied elsewhere.
struct ChunkPlacement {
    std::uint64_t offset = 0;
    std::uint32_t sampleCount = 0;
    std::uint32_t descriptionIndex = 1;
};

class SampleTable {
  public:
    class Cursor;

    SampleTable() = default;
    /// Views on the tables of a file. Row counts were checked against the bytes that are there.
    explicit SampleTable(SampleColumns columns);

    std::uint32_t sampleCount() const { return columns_.sizes.count(); }
    std::uint32_t chunkCount() const { return columns_.chunks.chunkCount(); }
    /// The sum of all sample durations, media time units.
    std::int64_t duration() const { return columns_.times.totalSum(); }
    /// When everything was shown, media time units: the duration, or later where composition
    /// offsets move what is decoded last, or near it, past it.
    std::int64_t displayEnd() const;
    bool hasCompositionOffsets() const { return columns_.composition.rowCount() != 0; }
    /// Whether all samples are sync samples because no table says otherwise.
    bool allSync() const { return !columns_.sync.present(); }

    /// Whether the tables agree with each other and with themselves: chunks in order, samples
    /// covered, times without overflow. Walks every row; look-ups work, cut short, without it.
    result::Status check() const;

    /// `endOfData` for an index that does not exist, `damaged` for tables that contradict it.
    result::Expected<Sample> sample(std::uint32_t index) const;
    /// The sample whose decode time range covers a media time; none outside. Logarithmic.
    std::optional<std::uint32_t> sampleAtDecodeTime(std::int64_t mediaTime) const;
    /// The sample shown at a media time: the one with the greatest display time not after it. The
    /// first one shown for times before all, the last one shown for times past the end; none only
    /// in an empty table.
    std::optional<std::uint32_t> sampleAtDisplayTime(std::int64_t mediaTime) const;
    /// The sample shown next after a media time: the one with the least display time after it.
    std::optional<std::uint32_t> sampleDisplayedAfter(std::int64_t mediaTime) const;
    /// decodeTimeOf plus the composition offset.
    std::int64_t displayTimeOf(std::uint32_t index) const;
    std::uint32_t durationOf(std::uint32_t index) const;
    /// The decode time of a sample; the whole duration for an index past the last one.
    std::int64_t decodeTimeOf(std::uint32_t index) const;
    /// The last sync sample not after `index`; 0 when there is none.
    std::uint32_t syncSampleAtOrBefore(std::uint32_t index) const;
    /// The first sync sample not before `index`; none when there is none.
    std::optional<std::uint32_t> syncSampleAtOrAfter(std::uint32_t index) const;

    /// Walks the samples in decode order from `firstSample` on, without any allocation.
    Cursor cursor(std::uint32_t firstSample) const;
    /// `endOfData` for a chunk that does not exist.
    result::Expected<ChunkRun> chunk(std::uint32_t chunkIndex) const;

    /// Appends samples: joins them to the last chunk when they continue it, else begins a chunk.
    /// Amortised constant time for each call. `limit` when a table would pass 2^32 rows.
    result::Status append(const NewSamples& samples);

    /// States anew where all samples lie, chunk by chunk in sample order. The counts must add up
    /// to the samples that there are (else `badArgument`). All other tables stay as they are.
    result::Status placeChunks(const std::vector<ChunkPlacement>& chunks);
    /// Adds `delta` to the offset of every chunk whose sample description `isAffected` accepts
    /// (called with the description's index from 1; an empty function accepts all).
    /// `badArgument`, and nothing changed, when an offset would leave the range of 64 bits.
    result::Status shiftChunks(std::int64_t delta,
                               const std::function<bool(std::uint32_t)>& isAffected = {});

    /// The tables themselves, as the writer puts them into a file.
    const SampleColumns& columns() const { return columns_; }
    /// Whether anything was appended or placed since the table was read.
    bool changed() const { return columns_.changed(); }

  private:
    struct OffsetRange {
        std::int32_t least = 0;
        std::int32_t greatest = 0;
    };
    struct LastChunk {
        bool known = false;
        std::uint64_t endOffset = 0;
        std::uint64_t sizeInBytes = 0;
        std::uint32_t descriptionIndex = 0;
    };
    /// The least and the greatest composition offset of all rows.
    OffsetRange offsetRange() const;
    std::int32_t compositionOffsetOf(std::uint32_t index) const;
    /// Rows of tables with a row for each sample that appending these would add.
    std::uint64_t rowsToList(const NewSamples& samples) const;
    void appendCompositionOffsets(const NewSamples& samples);
    void appendSync(const NewSamples& samples);
    void appendPlacement(const NewSamples& samples);

    SampleColumns columns_;
    LazyIndex<OffsetRange> offsetRange_;
    LastChunk lastChunk_;
    bool checkedForAppending_ = false;
};

/// Walks samples in decode order. Holds its own view of the tables, so that it stays valid when
/// the table it came from changes or goes.
class SampleTable::Cursor {
  public:
    Cursor() = default;
    /// Fills in the next sample; false at the end, and at the first row that contradicts the rest.
    bool next(Sample& sample);

  private:
    friend class SampleTable;
    SampleColumns columns_;
    std::uint32_t nextIndex_ = 0;
    RunColumn::Position time_;
    RunColumn::Position composition_;
    std::optional<ChunkColumn::Position> chunk_;
    std::uint64_t offset_ = 0;
    std::uint32_t sampleCount_ = 0;
    std::size_t nextSyncRow_ = 0;
    std::size_t nextPartialSyncRow_ = 0;
};

}  // namespace TWQuickTime::timeline
