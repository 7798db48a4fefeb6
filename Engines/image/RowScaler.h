// Scales a picture while its rows arrive, keeping a few rows in memory and no more.
//
// Shrinking is an area average, enlarging linear, each axis by itself. Pixels with alpha must be
// premultiplied, or colours of transparent pixels would bleed.
//
//     RowScaler scaler(ScaleMapping::whole(4000, 3000, 1920, 1080));
//     for (y…) scaler.push(sourceRow(y), [&](int row, const std::uint8_t* pixels) { store(row,
//     pixels); });
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "Engines/image/AxisWeights.h"
#include "Engines/image/ScaleKernels.h"

namespace TWQuickTime::image {

/// Which part of a source covers which whole destination.
struct ScaleMapping {
    int sourceWidth = 0;
    int sourceHeight = 0;
    double left = 0, top = 0, right = 0, bottom = 0;  ///< part of the source, in source pixels
    int destinationWidth = 0;
    int destinationHeight = 0;

    static ScaleMapping whole(int sourceWidth, int sourceHeight, int destinationWidth,
                              int destinationHeight) {
        return {sourceWidth,      sourceHeight,     0, 0, double(sourceWidth), double(sourceHeight),
                destinationWidth, destinationHeight};
    }
};

class RowScaler {
  public:
    using Sink = std::function<void(int destinationRow, const std::uint8_t* pixels)>;

    explicit RowScaler(const ScaleMapping& mapping);

    /// Takes the next source row (all of its pixels) and hands out every destination row that is
    /// complete with it, in order.
    void push(const std::uint8_t* sourceRow, const Sink& sink);
    /// The same for a source that is in memory as a whole, straight to where all rows go, which
    /// takes less time.
    void scaleAll(const std::uint8_t* firstSourceRow, std::ptrdiff_t sourceRowBytes,
                  std::uint8_t* firstDestinationRow, std::ptrdiff_t destinationRowBytes);

  private:
    /// Where finished rows are written.
    struct Rows {
        std::uint8_t* first = nullptr;
        std::ptrdiff_t rowBytes = 0;  ///< 0: all to the same place

        std::uint8_t* at(int row) const { return first + rowBytes * row; }
    };

    const AxisWeights::Span& nextSpan() const;
    int weightOf(const AxisWeights::Span& span, int sourceRow) const;
    bool isComplete() const;
    void push(const std::uint8_t* sourceRow, const Rows& destination, const Sink& sink);
    void pushForAverage(int y, const std::uint8_t* sourceRow, const Rows& destination,
                        const Sink& sink);
    void pushForInterpolation(int y, const std::uint8_t* sourceRow, const Rows& destination,
                              const Sink& sink);
    void addWide(int weight, const std::uint8_t* sourceRow);
    void finishAverage(std::uint8_t* destinationRow);

    std::size_t sourceCount_;  ///< of the bytes of a source row
    ColumnPairs columns_;
    AxisWeights rows_;
    int nextSourceRow_ = 0;
    int nextDestinationRow_ = 0;
    std::vector<std::uint16_t> sums_;      ///< of a source row
    std::vector<std::uint32_t> wideSums_;  ///< in use when one row is made of very many
    /// Where rows are interpolated: the last two source rows with their columns combined, the one
    /// of an even row first.
    std::vector<std::uint16_t> combined_[2];
    std::vector<std::uint8_t> destinationRow_;
};

}  // namespace TWQuickTime::image
