#include "Engines/image/RowScaler.h"

#include <algorithm>

namespace TWQuickTime::image {
namespace {

// What 16 bits round away stays invisible up to this many rows for one; beyond, sums have 32 bits.
constexpr int kMostRowsInNarrowSums = 16;

/// Every row that is added loses half a unit on average to rounding; that is put in beforehand.
int startOfSums(const AxisWeights::Span& span) {
    return span.count / 2;
}

}  // namespace

RowScaler::RowScaler(const ScaleMapping& mapping)
    : sourceCount_(static_cast<std::size_t>(mapping.sourceWidth) * 4),
      columns_(AxisWeights::make(mapping.sourceWidth, mapping.left, mapping.right,
                                 mapping.destinationWidth)),
      rows_(AxisWeights::make(mapping.sourceHeight, mapping.top, mapping.bottom,
                              mapping.destinationHeight)),
      sums_(sourceCount_ + static_cast<std::size_t>(columns_.overread()) * 4),
      destinationRow_(static_cast<std::size_t>(mapping.destinationWidth) * 4) {
    const bool manyRows = std::any_of(
        rows_.spans.begin(), rows_.spans.end(),
        [](const AxisWeights::Span& span) { return span.count > kMostRowsInNarrowSums; });
    if (manyRows)
        wideSums_.resize(sourceCount_);
    if (rows_.interpolates)
        for (std::vector<std::uint16_t>& row : combined_)
            row.resize(columns_.first.size() * 4);
}

const AxisWeights::Span& RowScaler::nextSpan() const {
    return rows_.spans[static_cast<std::size_t>(nextDestinationRow_)];
}

int RowScaler::weightOf(const AxisWeights::Span& span, int sourceRow) const {
    return rows_.weights[static_cast<std::size_t>(span.weightIndex + sourceRow - span.first)];
}

bool RowScaler::isComplete() const {
    return nextDestinationRow_ == static_cast<int>(rows_.spans.size());
}

void RowScaler::addWide(int weight, const std::uint8_t* sourceRow) {
    for (std::size_t i = 0; i < wideSums_.size(); ++i)
        wideSums_[i] += std::uint32_t{sourceRow[i]} * static_cast<std::uint32_t>(weight);
}

void RowScaler::finishAverage(std::uint8_t* destinationRow) {
    for (std::size_t i = 0; i < wideSums_.size(); ++i)
        sums_[i] = static_cast<std::uint16_t>((wideSums_[i] + 64) >> 7);
    std::fill(wideSums_.begin(), wideSums_.end(), 0u);
    combineColumns(columns_, sums_.data(), destinationRow);
}

void RowScaler::pushForAverage(int y, const std::uint8_t* sourceRow, const Rows& destination,
                               const Sink& sink) {
    // The last row of one destination row may be the first of the next.
    while (!isComplete() && y >= nextSpan().first) {
        const AxisWeights::Span& span = nextSpan();
        const WeightedRow row = {sourceRow, weightOf(span, y)};
        if (wideSums_.empty())
            sumRows({&row, 1}, y == span.first ? startOfSums(span) : kKeepSums, sums_.data(),
                    sourceCount_);
        else
            addWide(row.weight, sourceRow);
        if (y < span.first + span.count - 1)
            return;
        finishAverage(destination.at(nextDestinationRow_));
        sink(nextDestinationRow_, destination.at(nextDestinationRow_));
        ++nextDestinationRow_;
    }
}

void RowScaler::pushForInterpolation(int y, const std::uint8_t* sourceRow, const Rows& destination,
                                     const Sink& sink) {
    const WeightedRow whole = {sourceRow, AxisWeights::one};
    sumRows({&whole, 1}, 0, sums_.data(), sourceCount_);
    combineColumns(columns_, sums_.data(), combined_[y % 2].data());
    while (!isComplete()) {
        const AxisWeights::Span& span = nextSpan();
        const int last = span.first + span.count - 1;
        if (y < last)
            return;
        // The lower row of a single one is that row itself, with no share.
        blendRows(combined_[span.first % 2].data(), combined_[last % 2].data(),
                  span.count == 2 ? weightOf(span, last) : 0, destination.at(nextDestinationRow_),
                  columns_.first.size() * 4);
        sink(nextDestinationRow_, destination.at(nextDestinationRow_));
        ++nextDestinationRow_;
    }
}

void RowScaler::push(const std::uint8_t* sourceRow, const Rows& destination, const Sink& sink) {
    const int y = nextSourceRow_++;
    if (rows_.interpolates)
        pushForInterpolation(y, sourceRow, destination, sink);
    else
        pushForAverage(y, sourceRow, destination, sink);
}

void RowScaler::push(const std::uint8_t* sourceRow, const Sink& sink) {
    push(sourceRow, {destinationRow_.data(), 0}, sink);
}

void RowScaler::scaleAll(const std::uint8_t* firstSourceRow, std::ptrdiff_t sourceRowBytes,
                         std::uint8_t* firstDestinationRow, std::ptrdiff_t destinationRowBytes) {
    const auto rowAt = [&](int y) { return firstSourceRow + sourceRowBytes * y; };
    const Rows destination{firstDestinationRow, destinationRowBytes};
    if (rows_.interpolates || !wideSums_.empty()) {
        while (!isComplete())
            push(rowAt(nextSourceRow_), destination, [](int, const std::uint8_t*) {});
        return;
    }
    std::vector<WeightedRow> rows;
    for (; !isComplete(); ++nextDestinationRow_) {
        const AxisWeights::Span& span = nextSpan();
        rows.clear();
        for (int y = span.first; y < span.first + span.count; ++y)
            rows.push_back({rowAt(y), weightOf(span, y)});
        sumRows(rows, startOfSums(span), sums_.data(), sourceCount_);
        finishAverage(destination.at(nextDestinationRow_));
    }
}

}  // namespace TWQuickTime::image
