#include "Engines/timeline/SampleTable.h"

#include <algorithm>
#include <limits>
#include <string>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::timeline {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// How far a look-up by display time follows composition offsets that are out of all proportion.
constexpr std::uint32_t kLongestReordering = 4096;

Failure noSuch(const char* what, std::uint32_t index, std::uint32_t count) {
    return {FailureKind::endOfData, std::string(what) + " " + std::to_string(index) + " of " +
                                        std::to_string(count) + " does not exist"};
}

}  // namespace

SampleTable::SampleTable(SampleColumns columns) : columns_(std::move(columns)) {}

Status SampleTable::check() const {
    const std::uint64_t count = sampleCount();
    const auto damaged = [](std::string message) {
        return Failure{FailureKind::damaged, std::move(message)};
    };
    if (!columns_.chunks.ordered())
        return damaged("the sample to chunk table goes backward or past the last chunk");
    if (columns_.chunks.totalSamples() < count)
        return damaged("the chunks hold " + std::to_string(columns_.chunks.totalSamples()) +
                       " of " + std::to_string(count) + " samples");
    if (columns_.times.totalCount() < count)
        return damaged("the time table ends after " + std::to_string(columns_.times.totalCount()) +
                       " of " + std::to_string(count) + " samples");
    if (duration() == std::numeric_limits<std::int64_t>::max())
        return damaged("the sample durations add up to more than 64 bits");
    for (std::size_t row = 1; row < columns_.sync.rowCount(); ++row) {
        if (columns_.sync.number(row) <= columns_.sync.number(row - 1))
            return damaged("the sync sample table goes backward at row " + std::to_string(row));
    }
    for (std::uint32_t i = 0; i < chunkCount(); ++i) {
        const auto run = chunk(i);
        if (!run)
            return run.failure();
        if (run->offset > std::numeric_limits<std::uint64_t>::max() - run->sizeInBytes)
            return damaged("chunk " + std::to_string(i) + " ends past 64 bits");
    }
    return {};
}

std::int32_t SampleTable::compositionOffsetOf(std::uint32_t index) const {
    const auto position = columns_.composition.ofSample(index);
    return position.row < columns_.composition.rowCount()
               ? columns_.composition.signedValue(position.row)
               : 0;
}

std::int64_t SampleTable::decodeTimeOf(std::uint32_t index) const {
    const auto position = columns_.times.ofSample(index);
    if (position.row >= columns_.times.rowCount())
        return position.firstSum;
    const auto into = static_cast<std::int64_t>(index - position.firstSample);
    return addSaturating(position.firstSum,
                         multiplySaturating(into, columns_.times.value(position.row)));
}

std::int64_t SampleTable::displayTimeOf(std::uint32_t index) const {
    return addSaturating(decodeTimeOf(index), compositionOffsetOf(index));
}

std::uint32_t SampleTable::durationOf(std::uint32_t index) const {
    const auto position = columns_.times.ofSample(index);
    return position.row < columns_.times.rowCount() ? columns_.times.value(position.row) : 0;
}

Expected<Sample> SampleTable::sample(std::uint32_t index) const {
    if (index >= sampleCount())
        return noSuch("sample", index, sampleCount());
    const auto chunk = columns_.chunks.ofSample(index);
    if (!chunk)
        return Failure{FailureKind::damaged, "sample " + std::to_string(index) + " is in no chunk"};
    const auto firstInChunk = static_cast<std::uint32_t>(chunk->firstSample);
    Sample sample;
    sample.index = index;
    sample.decodeTime = decodeTimeOf(index);
    sample.duration = durationOf(index);
    sample.compositionOffset = compositionOffsetOf(index);
    sample.sync = allSync() || columns_.sync.contains(index + 1);
    sample.partialSync = columns_.partialSync.contains(index + 1);
    sample.sizeInBytes = columns_.sizes.sizeInChunk(index, firstInChunk);
    sample.offset =
        columns_.chunks.offset(chunk->chunk) + columns_.sizes.sizeOfRange(firstInChunk, index);
    sample.descriptionIndex = chunk->descriptionIndex;
    sample.chunkIndex = chunk->chunk;
    return sample;
}

std::optional<std::uint32_t> SampleTable::sampleAtDecodeTime(std::int64_t mediaTime) const {
    if (mediaTime < 0)
        return std::nullopt;
    const auto position = columns_.times.ofSum(mediaTime);
    if (position.row >= columns_.times.rowCount())
        return std::nullopt;
    const std::uint32_t each = std::max(1u, columns_.times.value(position.row));
    const std::uint64_t index =
        position.firstSample + static_cast<std::uint64_t>(mediaTime - position.firstSum) / each;
    if (index >= sampleCount())
        return std::nullopt;
    return static_cast<std::uint32_t>(index);
}

SampleTable::OffsetRange SampleTable::offsetRange() const {
    return offsetRange_.get([this] {
        OffsetRange range;
        for (std::size_t row = 0; row < columns_.composition.rowCount(); ++row) {
            const std::int32_t offset = columns_.composition.signedValue(row);
            range.least = row == 0 ? offset : std::min(range.least, offset);
            range.greatest = row == 0 ? offset : std::max(range.greatest, offset);
        }
        if (columns_.composition.totalCount() < sampleCount()) {
            range.least = std::min(range.least, 0);
            range.greatest = std::max(range.greatest, 0);
        }
        return range;
    });
}

std::int64_t SampleTable::displayEnd() const {
    std::int64_t end = duration();
    if (!hasCompositionOffsets())
        return end;
    const std::int64_t greatest = offsetRange().greatest;
    std::int64_t nextDecodeTime = end;
    for (std::uint32_t index = sampleCount(), steps = 0; index != 0 && steps < kLongestReordering;
         ++steps) {
        // No sample from here on back is shown beyond this.
        if (addSaturating(nextDecodeTime, greatest) <= end)
            break;
        --index;
        end = std::max(end, addSaturating(displayTimeOf(index), durationOf(index)));
        nextDecodeTime = decodeTimeOf(index);
    }
    return end;
}

std::optional<std::uint32_t> SampleTable::sampleAtDisplayTime(std::int64_t mediaTime) const {
    if (sampleCount() == 0)
        return std::nullopt;
    // Only samples decoded within [time − greatest, time − least] can be the one.
    const OffsetRange range = offsetRange();
    const std::uint32_t lastSample = sampleCount() - 1;
    const std::int64_t latest = addSaturating(mediaTime, -std::int64_t{range.least});
    std::uint32_t index =
        latest < 0 ? 0 : sampleAtDecodeTime(latest).value_or(latest < duration() ? 0 : lastSample);
    std::optional<std::uint32_t> best;
    std::int64_t bestTime = 0;
    for (std::uint32_t steps = 0; steps < kLongestReordering; ++steps) {
        const std::int64_t decodeTime = decodeTimeOf(index);
        const std::int64_t time = addSaturating(decodeTime, compositionOffsetOf(index));
        if (time <= mediaTime && (!best || time > bestTime)) {
            best = index;
            bestTime = time;
        }
        if (index == 0 || (best && addSaturating(decodeTime, range.greatest) <= bestTime))
            break;
        --index;
    }
    return best ? best : sampleDisplayedAfter(mediaTime);
}

std::optional<std::uint32_t> SampleTable::sampleDisplayedAfter(std::int64_t mediaTime) const {
    if (sampleCount() == 0)
        return std::nullopt;
    const OffsetRange range = offsetRange();
    const std::int64_t earliest = addSaturating(mediaTime, -std::int64_t{range.greatest});
    if (earliest >= duration())
        return std::nullopt;
    std::uint32_t index = earliest < 0 ? 0 : sampleAtDecodeTime(earliest).value_or(0);
    std::optional<std::uint32_t> best;
    std::int64_t bestTime = 0;
    for (std::uint32_t steps = 0; steps < kLongestReordering && index < sampleCount(); ++steps) {
        const std::int64_t decodeTime = decodeTimeOf(index);
        const std::int64_t time = addSaturating(decodeTime, compositionOffsetOf(index));
        if (time > mediaTime && (!best || time < bestTime)) {
            best = index;
            bestTime = time;
        }
        if (best && addSaturating(decodeTime, range.least) >= bestTime)
            break;
        ++index;
    }
    return best;
}

std::uint32_t SampleTable::syncSampleAtOrBefore(std::uint32_t index) const {
    if (allSync())
        return index;
    const std::size_t row = columns_.sync.firstRowFrom(index + 2);
    if (index == std::numeric_limits<std::uint32_t>::max() || row == 0)
        return 0;
    return std::max(1u, columns_.sync.number(row - 1)) - 1;
}

std::optional<std::uint32_t> SampleTable::syncSampleAtOrAfter(std::uint32_t index) const {
    if (index >= sampleCount())
        return std::nullopt;
    if (allSync())
        return index;
    const std::size_t row = columns_.sync.firstRowFrom(index + 1);
    if (row >= columns_.sync.rowCount() || columns_.sync.number(row) > sampleCount())
        return std::nullopt;
    return columns_.sync.number(row) - 1;
}

Expected<ChunkRun> SampleTable::chunk(std::uint32_t chunkIndex) const {
    if (chunkIndex >= chunkCount())
        return noSuch("chunk", chunkIndex, chunkCount());
    const auto position = columns_.chunks.ofChunk(chunkIndex);
    if (!position)
        return Failure{FailureKind::damaged,
                       "chunk " + std::to_string(chunkIndex) + " belongs to no run of chunks"};
    const std::uint64_t total = sampleCount();
    const std::uint64_t first = std::min(position->firstSample, total);
    const std::uint64_t end = std::min(position->endSample(), total);
    ChunkRun run;
    run.chunkIndex = chunkIndex;
    run.firstSample = static_cast<std::uint32_t>(first);
    run.sampleCount = static_cast<std::uint32_t>(end - first);
    run.offset = columns_.chunks.offset(chunkIndex);
    run.sizeInBytes = columns_.sizes.sizeOfRange(run.firstSample, static_cast<std::uint32_t>(end));
    run.decodeTime = decodeTimeOf(run.firstSample);
    run.descriptionIndex = position->descriptionIndex;
    return run;
}

}  // namespace TWQuickTime::timeline
