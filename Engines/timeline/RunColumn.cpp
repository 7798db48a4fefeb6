#include "Engines/timeline/RunColumn.h"

#include <algorithm>
#include <limits>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::timeline {

RunColumn::Position RunColumn::after(const Position& position) const {
    const std::uint32_t samples = count(position.row);
    const std::int64_t sum = multiplySaturating(samples, value(position.row));
    return {position.row + 1, position.firstSample + samples,
            addSaturating(position.firstSum, sum)};
}

RunColumn::Index RunColumn::makeIndex() const {
    Index index;
    index.reserve(rowCount() / kRowsPerIndexEntry + 1);
    Position position;
    while (position.row < rowCount()) {
        if (position.row % kRowsPerIndexEntry == 0)
            index.push_back(position);
        position = after(position);
    }
    return index;
}

RunColumn::Position RunColumn::end() const {
    const Index& index = index_.get([this] { return makeIndex(); });
    Position position = index.empty() ? Position{} : index.back();
    while (position.row < rowCount())
        position = after(position);
    return position;
}

RunColumn::Position RunColumn::ofSample(std::uint64_t sample) const {
    const Index& index = index_.get([this] { return makeIndex(); });
    const auto next = std::upper_bound(
        index.begin(), index.end(), sample,
        [](std::uint64_t wanted, const Position& entry) { return wanted < entry.firstSample; });
    Position position = next == index.begin() ? Position{} : *(next - 1);
    while (position.row < rowCount() && sample - position.firstSample >= count(position.row))
        position = after(position);
    return position;
}

RunColumn::Position RunColumn::ofSum(std::int64_t sum) const {
    const Index& index = index_.get([this] { return makeIndex(); });
    const auto next = std::upper_bound(
        index.begin(), index.end(), sum,
        [](std::int64_t wanted, const Position& entry) { return wanted < entry.firstSum; });
    Position position = next == index.begin() ? Position{} : *(next - 1);
    while (position.row < rowCount()) {
        const Position following = after(position);
        if (sum < following.firstSum)
            break;
        position = following;
    }
    return position;
}

void RunColumn::append(std::uint32_t samples, std::uint32_t newValue) {
    if (samples == 0)
        return;
    Index* index = index_.ownForChange();
    const std::size_t rows = rowCount();
    if (rows != 0 && value(rows - 1) == newValue &&
        count(rows - 1) <= std::numeric_limits<std::uint32_t>::max() - samples) {
        rows_.setU32((rows - 1) * 8, count(rows - 1) + samples);
        return;
    }
    if (index && rows % kRowsPerIndexEntry == 0)
        index->push_back(end());
    rows_.appendU32(samples);
    rows_.appendU32(newValue);
}

}  // namespace TWQuickTime::timeline
