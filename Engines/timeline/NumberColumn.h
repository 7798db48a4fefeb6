// A column of sample numbers: which samples are sync samples ('stss') or partial ones ('stps').
#pragma once

#include <cstdint>

#include "Engines/timeline/TableBytes.h"

namespace TWQuickTime::timeline {

/// Rows of sample numbers counted from 1, ascending. Absent (the default): the file says nothing.
class NumberColumn {
  public:
    NumberColumn() = default;
    explicit NumberColumn(SharedBytes rows) : present_(true), rows_(std::move(rows)) {}

    bool present() const { return present_; }
    std::size_t rowCount() const { return rows_.size() / 4; }
    std::uint32_t number(std::size_t row) const { return rows_.u32(row * 4); }
    /// The first row whose number is at least `number`; the row count when there is none.
    std::size_t firstRowFrom(std::uint32_t number) const;
    bool contains(std::uint32_t number) const;
    /// Makes the column present, with the numbers 1 … `count`.
    void startWithAll(std::uint32_t count);
    void append(std::uint32_t number) { rows_.appendU32(number); }
    std::span<const std::byte> rows() const { return rows_.bytes(); }

  private:
    bool present_ = false;
    TableBytes rows_;
};

}  // namespace TWQuickTime::timeline
