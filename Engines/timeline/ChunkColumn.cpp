#include "Engines/timeline/ChunkColumn.h"

#include <algorithm>
#include <limits>

namespace TWQuickTime::timeline {

ChunkColumn::ChunkColumn(SharedBytes runs, SharedBytes offsets, bool wide)
    : runs_(std::move(runs)), offsets_(std::move(offsets)), wide_(wide) {}

std::uint32_t ChunkColumn::chunkCount() const {
    return static_cast<std::uint32_t>(offsets_.size() / (wide_ ? 8 : 4));
}

std::uint64_t ChunkColumn::offset(std::uint32_t chunk) const {
    return wide_ ? offsets_.u64(std::size_t{chunk} * 8) : offsets_.u32(std::size_t{chunk} * 4);
}

std::uint32_t ChunkColumn::endChunk(std::size_t run) const {
    const std::uint32_t end = chunkCount() + 1;
    return run + 1 < runCount() ? std::min(firstChunk(run + 1), end) : end;
}

std::uint64_t ChunkColumn::samplesInRun(std::size_t run) const {
    return std::uint64_t{endChunk(run) - firstChunk(run)} * samplesPerChunk(run);
}

bool ChunkColumn::ordered() const {
    return index().orderedRuns == runCount() && (runCount() != 0 || chunkCount() == 0);
}

const ChunkColumn::Index& ChunkColumn::index() const {
    return index_.get([this] {
        Index made;
        made.firstSamples.reserve(runCount() / kRowsPerIndexEntry + 1);
        std::uint64_t firstSample = 0;
        std::uint32_t expectedChunk = 1;
        for (std::size_t run = 0; run < runCount(); ++run) {
            const std::uint32_t first = firstChunk(run);
            const bool forward = run == 0 ? first == 1 : first == expectedChunk;
            if (!forward || first > chunkCount() || endChunk(run) <= first)
                break;
            if (run % kRowsPerIndexEntry == 0)
                made.firstSamples.push_back(firstSample);
            firstSample += samplesInRun(run);
            expectedChunk = endChunk(run);
            ++made.orderedRuns;
        }
        return made;
    });
}

std::uint64_t ChunkColumn::firstSampleOfRun(std::size_t run) const {
    const std::size_t entry = run / kRowsPerIndexEntry;
    std::uint64_t firstSample = index().firstSamples[entry];
    for (std::size_t i = entry * kRowsPerIndexEntry; i < run; ++i)
        firstSample += samplesInRun(i);
    return firstSample;
}

std::optional<ChunkColumn::Position> ChunkColumn::ofSample(std::uint64_t sample) const {
    const Index& known = index();
    const auto next =
        std::upper_bound(known.firstSamples.begin(), known.firstSamples.end(), sample);
    if (next == known.firstSamples.begin())
        return std::nullopt;
    const auto entry = static_cast<std::size_t>(next - known.firstSamples.begin()) - 1;
    std::uint64_t firstSample = known.firstSamples[entry];
    for (std::size_t run = entry * kRowsPerIndexEntry; run < known.orderedRuns; ++run) {
        const std::uint64_t samples = samplesInRun(run);
        if (sample - firstSample < samples) {
            const std::uint32_t perChunk = samplesPerChunk(run);
            const std::uint64_t chunkInRun = (sample - firstSample) / perChunk;
            return Position{run, firstChunk(run) - 1 + static_cast<std::uint32_t>(chunkInRun),
                            firstSample + chunkInRun * perChunk, perChunk, descriptionIndex(run)};
        }
        firstSample += samples;
    }
    return std::nullopt;
}

std::optional<ChunkColumn::Position> ChunkColumn::ofChunk(std::uint32_t chunk) const {
    std::size_t low = 0;
    std::size_t high = index().orderedRuns;
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (firstChunk(middle) - 1 <= chunk)
            low = middle + 1;
        else
            high = middle;
    }
    if (low == 0 || chunk >= endChunk(low - 1) - 1)
        return std::nullopt;
    const std::size_t run = low - 1;
    const std::uint32_t inRun = chunk - (firstChunk(run) - 1);
    return Position{run, chunk, firstSampleOfRun(run) + std::uint64_t{inRun} * samplesPerChunk(run),
                    samplesPerChunk(run), descriptionIndex(run)};
}

std::optional<ChunkColumn::Position> ChunkColumn::after(const Position& position) const {
    Position next = position;
    next.firstSample = position.endSample();
    ++next.chunk;
    if (next.chunk + 1 == endChunk(position.run)) {
        ++next.run;
        if (next.run >= index().orderedRuns)
            return std::nullopt;
        next.sampleCount = samplesPerChunk(next.run);
        next.descriptionIndex = descriptionIndex(next.run);
    }
    return next;
}

std::uint64_t ChunkColumn::totalSamples() const {
    const std::size_t runs = index().orderedRuns;
    return runs == 0 ? 0 : firstSampleOfRun(runs - 1) + samplesInRun(runs - 1);
}

void ChunkColumn::appendRun(std::uint32_t chunk, std::uint32_t samples, std::uint32_t description) {
    const std::size_t run = runCount();
    const std::uint64_t before =
        run == 0 ? 0
                 : firstSampleOfRun(run - 1) +
                       std::uint64_t{chunk - firstChunk(run - 1)} * samplesPerChunk(run - 1);
    runs_.appendU32(chunk);
    runs_.appendU32(samples);
    runs_.appendU32(description);
    if (Index* own = index_.ownForChange()) {
        if (run % kRowsPerIndexEntry == 0)
            own->firstSamples.push_back(before);
        ++own->orderedRuns;
    }
}

void ChunkColumn::dropLastRun() {
    const std::size_t run = runCount() - 1;
    runs_.truncate(run * 12);
    if (Index* own = index_.ownForChange()) {
        --own->orderedRuns;
        if (run % kRowsPerIndexEntry == 0)
            own->firstSamples.pop_back();
    }
}

void ChunkColumn::widen() {
    TableBytes wideOffsets;
    for (std::uint32_t chunk = 0; chunk < chunkCount(); ++chunk)
        wideOffsets.appendU64(offset(chunk));
    offsets_ = std::move(wideOffsets);
    wide_ = true;
}

void ChunkColumn::setOffset(std::uint32_t chunk, std::uint64_t newOffset) {
    if (!wide_ && newOffset > std::numeric_limits<std::uint32_t>::max())
        widen();
    if (wide_)
        offsets_.setU64(std::size_t{chunk} * 8, newOffset);
    else
        offsets_.setU32(std::size_t{chunk} * 4, static_cast<std::uint32_t>(newOffset));
}

void ChunkColumn::appendChunk(std::uint64_t newOffset, std::uint32_t samples,
                              std::uint32_t description) {
    if (!wide_ && newOffset > std::numeric_limits<std::uint32_t>::max())
        widen();
    if (wide_)
        offsets_.appendU64(newOffset);
    else
        offsets_.appendU32(static_cast<std::uint32_t>(newOffset));
    const std::size_t runs = runCount();
    index_.ownForChange();
    if (runs == 0 || samplesPerChunk(runs - 1) != samples ||
        descriptionIndex(runs - 1) != description)
        appendRun(chunkCount(), samples, description);
}

void ChunkColumn::growLastChunk(std::uint32_t samples) {
    const std::size_t run = runCount() - 1;
    const std::uint32_t grown = samplesPerChunk(run) + samples;
    const std::uint32_t description = descriptionIndex(run);
    if (firstChunk(run) != chunkCount()) {
        appendRun(chunkCount(), grown, description);
        return;
    }
    if (run > 0 && samplesPerChunk(run - 1) == grown && descriptionIndex(run - 1) == description) {
        dropLastRun();
        return;
    }
    index_.ownForChange();
    runs_.setU32(run * 12 + 4, grown);
}

}  // namespace TWQuickTime::timeline
