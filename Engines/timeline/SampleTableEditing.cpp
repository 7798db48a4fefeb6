// Appending samples to a table, and placing its chunks elsewhere.
#include <algorithm>
#include <limits>
#include <string>

#include "Engines/timeline/SampleTable.h"

namespace TWQuickTime::timeline {

using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// A chunk that has grown to this is followed by a new one, so that no chunk keeps other tracks
/// away for long.
constexpr std::uint64_t kFullChunkInBytes = 1 << 20;
constexpr std::uint32_t kMaximumSamples = std::numeric_limits<std::uint32_t>::max();
/// Samples that are all alike take no rows; more of them than this are never listed one by one.
constexpr std::uint64_t kMaximumSamplesToList = 1u << 24;

}  // namespace

Status SampleTable::append(const NewSamples& samples) {
    if (samples.count == 0)
        return Failure{FailureKind::badArgument, "no samples to append"};
    if (samples.descriptionIndex == 0)
        return Failure{FailureKind::badArgument, "sample descriptions count from 1"};
    if (samples.count > kMaximumSamples - sampleCount())
        return Failure{FailureKind::limit, "a media holds at most 2^32 - 1 samples"};
    if (!checkedForAppending_) {
        if (!columns_.chunks.ordered() || columns_.chunks.totalSamples() != sampleCount())
            return Failure{FailureKind::damaged,
                           "the chunks do not hold the samples that there are; cannot append"};
        const std::uint64_t timed = columns_.times.totalCount();
        if (timed < sampleCount())
            columns_.times.append(static_cast<std::uint32_t>(sampleCount() - timed), 0);
        const std::uint64_t offsets = columns_.composition.totalCount();
        if (columns_.composition.rowCount() != 0 && offsets < sampleCount())
            columns_.composition.append(static_cast<std::uint32_t>(sampleCount() - offsets), 0);
        checkedForAppending_ = true;
    }
    if (rowsToList(samples) > kMaximumSamplesToList)
        return Failure{FailureKind::limit, "too many samples to be listed one by one"};
    columns_.samplesChanged = true;
    appendPlacement(samples);
    columns_.times.append(samples.count, samples.duration);
    appendCompositionOffsets(samples);
    appendSync(samples);
    columns_.sizes.append(samples.sizeInBytes, samples.count);
    if (columns_.dependencies.present) {
        for (std::uint32_t i = 0; i < samples.count; ++i)
            columns_.dependencies.rows.appendByte(0);
    }
    return {};
}

std::uint64_t SampleTable::rowsToList(const NewSamples& samples) const {
    const bool sizesListed = !columns_.sizes.rows().empty();
    const bool staysCommon =
        !sizesListed && samples.sizeInBytes != 0 &&
        (sampleCount() == 0 || samples.sizeInBytes == columns_.sizes.commonSize());
    std::uint64_t rows = 0;
    if (!staysCommon)
        rows = std::uint64_t{samples.count} + (sizesListed ? 0 : sampleCount());
    if (allSync() != samples.sync)
        rows += allSync() ? sampleCount() : samples.count;
    if (columns_.dependencies.present)
        rows += samples.count;
    return rows;
}

void SampleTable::appendCompositionOffsets(const NewSamples& samples) {
    if (columns_.composition.rowCount() == 0 && samples.compositionOffset == 0)
        return;
    if (columns_.composition.rowCount() == 0)
        columns_.composition.append(sampleCount(), 0);
    columns_.composition.append(samples.count,
                                static_cast<std::uint32_t>(samples.compositionOffset));
    if (OffsetRange* range = offsetRange_.ownForChange()) {
        range->least = std::min(range->least, samples.compositionOffset);
        range->greatest = std::max(range->greatest, samples.compositionOffset);
    }
}

void SampleTable::appendSync(const NewSamples& samples) {
    if (!columns_.sync.present() && samples.sync)
        return;
    if (!columns_.sync.present())
        columns_.sync.startWithAll(sampleCount());
    if (!samples.sync)
        return;
    for (std::uint32_t i = 0; i < samples.count; ++i)
        columns_.sync.append(sampleCount() + i + 1);
}

void SampleTable::appendPlacement(const NewSamples& samples) {
    if (!lastChunk_.known && chunkCount() != 0) {
        if (const auto last = chunk(chunkCount() - 1))
            lastChunk_ = {true, last->offset + last->sizeInBytes, last->sizeInBytes,
                          last->descriptionIndex};
    }
    const std::uint64_t sizeInBytes = std::uint64_t{samples.sizeInBytes} * samples.count;
    if (lastChunk_.known && lastChunk_.endOffset == samples.offset &&
        lastChunk_.descriptionIndex == samples.descriptionIndex &&
        lastChunk_.sizeInBytes < kFullChunkInBytes) {
        columns_.chunks.growLastChunk(samples.count);
        lastChunk_.sizeInBytes += sizeInBytes;
    } else {
        columns_.chunks.appendChunk(samples.offset, samples.count, samples.descriptionIndex);
        lastChunk_ = {true, samples.offset, sizeInBytes, samples.descriptionIndex};
    }
    lastChunk_.endOffset = samples.offset + sizeInBytes;
}

Status SampleTable::placeChunks(const std::vector<ChunkPlacement>& chunks) {
    std::uint64_t samples = 0;
    for (const ChunkPlacement& chunk : chunks)
        samples += chunk.sampleCount;
    if (samples != sampleCount())
        return Failure{FailureKind::badArgument, "the chunks hold " + std::to_string(samples) +
                                                     " samples instead of " +
                                                     std::to_string(sampleCount())};
    ChunkColumn placed;
    for (const ChunkPlacement& chunk : chunks)
        placed.appendChunk(chunk.offset, chunk.sampleCount, chunk.descriptionIndex);
    columns_.chunks = std::move(placed);
    columns_.placementChanged = true;
    lastChunk_ = {};
    return {};
}

Status SampleTable::shiftChunks(std::int64_t delta,
                                const std::function<bool(std::uint32_t)>& isAffected) {
    ChunkColumn shifted = columns_.chunks;
    const ChunkColumn& old = columns_.chunks;
    for (auto position = old.ofChunk(0); position; position = old.after(*position)) {
        if (isAffected && !isAffected(position->descriptionIndex))
            continue;
        const std::uint64_t before = old.offset(position->chunk);
        const std::uint64_t after = before + static_cast<std::uint64_t>(delta);
        if (delta < 0 ? after > before : after < before)
            return Failure{FailureKind::badArgument, "chunk " + std::to_string(position->chunk) +
                                                         " at " + std::to_string(before) +
                                                         " cannot be moved by " +
                                                         std::to_string(delta)};
        shifted.setOffset(position->chunk, after);
    }
    columns_.chunks = std::move(shifted);
    columns_.placementChanged = true;
    lastChunk_ = {};
    return {};
}

}  // namespace TWQuickTime::timeline
