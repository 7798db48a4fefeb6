// The inner loops of scaling rows of 32-bit pixels.
//
// A row of sums holds a 16-bit number for each byte of a row of pixels, in 8.7 fixed point: at most
// 255 << 7, which is positive in signed arithmetic, too. Weights are whole numbers of which
// AxisWeights::one is 1. Machines with wider registers use them; all give the same results.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Engines/image/AxisWeights.h"

namespace TWQuickTime::image {

constexpr int kSumFractionBits = 7;

/// Whether this machine has registers of 32 bytes.
bool hasWideRegisters();

struct WeightedRow {
    const std::uint8_t* pixels = nullptr;
    int weight = 0;
};

/// The columns of a row in pairs of neighbours, as the multiply-add of pairs wants them.
struct ColumnPairs {
    explicit ColumnPairs(const AxisWeights& columns);

    int width() const { return static_cast<int>(first.size()); }
    /// So many pixels behind the source's last may be read; their weight is 0.
    int overread() const { return 2 * pairs; }

    int pairs = 1;                      ///< that make up a pixel, the same for all
    std::vector<int> first;             ///< for each pixel: where in the source its pairs begin
    std::vector<std::int16_t> weights;  ///< two for each pair
};

constexpr int kKeepSums = -1;

/// Adds rows to sums; each product is rounded down.
/// @param start  what all sums are beforehand, or kKeepSums
/// @param count  of the sums, four for each pixel
void sumRows(std::span<const WeightedRow> rows, int start, std::uint16_t* sums, std::size_t count,
             bool wide = hasWideRegisters());

/// Weighs neighbouring sums into pixels, or into the sums of a row that is as wide as the columns.
void combineColumns(const ColumnPairs& columns, const std::uint16_t* sums, std::uint8_t* pixels,
                    bool wide = hasWideRegisters());
void combineColumns(const ColumnPairs& columns, const std::uint16_t* sums, std::uint16_t* combined,
                    bool wide = hasWideRegisters());

/// The pixels that lie between two rows of sums.
/// @param lowerWeight  the lower row's share, less than AxisWeights::one
void blendRows(const std::uint16_t* upper, const std::uint16_t* lower, int lowerWeight,
               std::uint8_t* pixels, std::size_t count, bool wide = hasWideRegisters());

}  // namespace TWQuickTime::image
