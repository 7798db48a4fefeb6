// Scales a picture while its rows arrive, keeping a few rows in memory and no more.
//
// Shrinking is an area average, enlarging linear, each axis by itself. Pixels with alpha must be
// premultiplied, or colours of transparent pixels would bleed.
//
//     RowScaler scaler(ScaleMapping::whole(4000, 3000, 1920, 1080));
//     for (y…) scaler.push(sourceRow(y), [&](int row, const std::uint8_t* pixels) { store(row,
//     pixels); });
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "Engines/image/AxisWeights.h"

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

  private:
    void openRow(int sourceRows);
    void addRow(const std::uint8_t* sourceRow, int weight);
    void finishRow(const Sink& sink);

    int sourceWidth_;
    AxisWeights columns_;
    AxisWeights rows_;
    int nextSourceRow_ = 0;
    int nextDestinationRow_ = 0;
    std::vector<std::uint16_t> sums_;        ///< one source-wide row in 8.7 fixed point
    std::vector<std::uint32_t> wideSums_;    ///< in use when one row is made of very many
    std::vector<std::uint8_t> previousRow_;  ///< for enlarging, where rows are used more than once
    std::vector<std::uint8_t> destinationRow_;
    std::vector<std::int16_t>
        packedWeights_;  ///< column weights in pairs, as the inner loop wants them
    std::vector<int> packedFirst_;
    std::vector<int> packedPairs_;
};

}  // namespace TWQuickTime::image
