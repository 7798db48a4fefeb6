// Walking a sample table.
#include "Engines/timeline/Rescale.h"
#include "Engines/timeline/SampleTable.h"

namespace TWQuickTime::timeline {
namespace {

/// Moves a position forward to the row of a sample; stops at the end.
void advance(const RunColumn& column, RunColumn::Position& position, std::uint32_t sample) {
    while (position.row < column.rowCount() &&
           sample - position.firstSample >= column.count(position.row))
        position = column.after(position);
}

/// Whether a number is in a column, of which all rows before `row` are smaller.
bool contains(const NumberColumn& column, std::size_t& row, std::uint32_t number) {
    while (row < column.rowCount() && column.number(row) < number)
        ++row;
    return row < column.rowCount() && column.number(row) == number;
}

}  // namespace

SampleTable::Cursor SampleTable::cursor(std::uint32_t firstSample) const {
    Cursor cursor;
    cursor.columns_ = columns_;
    cursor.sampleCount_ = sampleCount();
    cursor.nextIndex_ = firstSample;
    if (firstSample >= cursor.sampleCount_)
        return cursor;
    cursor.time_ = columns_.times.ofSample(firstSample);
    cursor.composition_ = columns_.composition.ofSample(firstSample);
    cursor.chunk_ = columns_.chunks.ofSample(firstSample);
    if (cursor.chunk_)
        cursor.offset_ = columns_.chunks.offset(cursor.chunk_->chunk) +
                         columns_.sizes.sizeOfRange(
                             static_cast<std::uint32_t>(cursor.chunk_->firstSample), firstSample);
    cursor.nextSyncRow_ = columns_.sync.firstRowFrom(firstSample + 1);
    cursor.nextPartialSyncRow_ = columns_.partialSync.firstRowFrom(firstSample + 1);
    return cursor;
}

bool SampleTable::Cursor::next(Sample& sample) {
    if (nextIndex_ >= sampleCount_)
        return false;
    const std::uint32_t index = nextIndex_;
    while (chunk_ && index >= chunk_->endSample()) {
        chunk_ = columns_.chunks.after(*chunk_);
        if (chunk_)
            offset_ = columns_.chunks.offset(chunk_->chunk);
    }
    if (!chunk_)
        return false;
    advance(columns_.times, time_, index);
    advance(columns_.composition, composition_, index);

    sample.index = index;
    sample.decodeTime = time_.firstSum;
    sample.duration = 0;
    if (time_.row < columns_.times.rowCount()) {
        sample.duration = columns_.times.value(time_.row);
        const auto into = static_cast<std::int64_t>(index - time_.firstSample);
        sample.decodeTime =
            addSaturating(time_.firstSum, multiplySaturating(into, sample.duration));
    }
    sample.compositionOffset = composition_.row < columns_.composition.rowCount()
                                   ? columns_.composition.signedValue(composition_.row)
                                   : 0;
    sample.sync = !columns_.sync.present() || contains(columns_.sync, nextSyncRow_, index + 1);
    sample.partialSync = contains(columns_.partialSync, nextPartialSyncRow_, index + 1);
    sample.sizeInBytes =
        columns_.sizes.sizeInChunk(index, static_cast<std::uint32_t>(chunk_->firstSample));
    sample.offset = offset_;
    sample.descriptionIndex = chunk_->descriptionIndex;
    sample.chunkIndex = chunk_->chunk;
    offset_ += sample.sizeInBytes;
    ++nextIndex_;
    return true;
}

}  // namespace TWQuickTime::timeline
