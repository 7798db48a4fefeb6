// A column of runs: rows of {sample count, 32-bit value}, for sample durations ('stts') and
// composition offsets ('ctts').
#pragma once

#include <cstdint>
#include <vector>

#include "Engines/timeline/LazyIndex.h"
#include "Engines/timeline/TableBytes.h"

namespace TWQuickTime::timeline {

class RunColumn {
  public:
    /// A row, and the totals of all rows before it.
    struct Position {
        std::size_t row = 0;
        std::uint64_t firstSample = 0;
        std::int64_t firstSum = 0;  ///< sum of count · value, value taken as unsigned, saturating
    };

    RunColumn() = default;
    explicit RunColumn(SharedBytes rows) : rows_(std::move(rows)) {}

    std::size_t rowCount() const { return rows_.size() / 8; }
    std::uint32_t count(std::size_t row) const { return rows_.u32(row * 8); }
    std::uint32_t value(std::size_t row) const { return rows_.u32(row * 8 + 4); }
    std::int32_t signedValue(std::size_t row) const {
        return static_cast<std::int32_t>(value(row));
    }

    /// Samples that the rows speak of.
    std::uint64_t totalCount() const { return end().firstSample; }
    /// The sum over all samples, saturating.
    std::int64_t totalSum() const { return end().firstSum; }
    /// The position after the last row.
    Position end() const;
    /// The row of a sample; the end for samples past the last row.
    Position ofSample(std::uint64_t sample) const;
    /// The row whose range of sums covers `sum` (at least 0); the end past the last row.
    Position ofSum(std::int64_t sum) const;
    /// The position after one that is not the end.
    Position after(const Position& position) const;

    void append(std::uint32_t count, std::uint32_t value);
    std::span<const std::byte> rows() const { return rows_.bytes(); }

  private:
    using Index = std::vector<Position>;  ///< of every 256th row
    Index makeIndex() const;

    TableBytes rows_;
    LazyIndex<Index> index_;
};

}  // namespace TWQuickTime::timeline
