// Which source pixels make up each destination pixel along one axis, and with what weight.
//
// Shrinking takes the exact average over the area that a destination pixel covers; enlarging
// interpolates linearly between pixel centres, edges repeated. Weights are integers that sum to
// exactly `one` for every destination pixel.
#pragma once

#include <cstdint>
#include <vector>

namespace TWQuickTime::image {

struct AxisWeights {
    static constexpr int one = 1 << 14;

    struct Span {
        int first = 0;        ///< first source pixel, counted from 0
        int count = 0;        ///< at least 1
        int weightIndex = 0;  ///< where its weights start
    };
    /// Whether spans are one or two pixels to interpolate between, else areas to average.
    bool interpolates = false;
    std::vector<Span> spans;  ///< one for each destination pixel
    std::vector<std::int16_t> weights;

    /// @param sourceStart, sourceEnd  the part of the source that covers destination
    /// 0…destinationLength,
    ///        in source pixels, possibly fractional; samples outside 0…sourceLength repeat the edge
    static AxisWeights make(int sourceLength, double sourceStart, double sourceEnd,
                            int destinationLength);
};

}  // namespace TWQuickTime::image
