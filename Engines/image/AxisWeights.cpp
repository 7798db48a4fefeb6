#include "Engines/image/AxisWeights.h"

#include <algorithm>
#include <cmath>

namespace TWQuickTime::image {
namespace {

/// Real-valued weights of one destination pixel, from source pixel `first` on.
struct RealSpan {
    int first = 0;
    std::vector<double> weights;

    void add(int index, int sourceLength, double weight) {
        if (weight <= 0)
            return;
        index = std::clamp(index, 0, sourceLength - 1);
        if (weights.empty())
            first = index;
        const std::size_t place = static_cast<std::size_t>(std::max(0, index - first));
        if (place >= weights.size())
            weights.resize(place + 1, 0.0);
        weights[place] += weight;
    }
};

RealSpan areaAverage(double start, double end, int sourceLength) {
    RealSpan span;
    for (int i = static_cast<int>(std::floor(start)); i < end; ++i)
        span.add(i, sourceLength, std::min<double>(end, i + 1) - std::max<double>(start, i));
    return span;
}

RealSpan linearBetweenCentres(double centre, int sourceLength) {
    const double position = centre - 0.5;
    const double left = std::floor(position);
    const double fraction = position - left;
    RealSpan span;
    span.add(static_cast<int>(left), sourceLength, 1.0 - fraction);
    span.add(static_cast<int>(left) + 1, sourceLength, fraction);
    return span;
}

}  // namespace

AxisWeights AxisWeights::make(int sourceLength, double sourceStart, double sourceEnd,
                              int destinationLength) {
    const double step = (sourceEnd - sourceStart) / destinationLength;
    AxisWeights axis;
    axis.interpolates = step <= 1.0;
    axis.spans.reserve(static_cast<std::size_t>(destinationLength));
    for (int i = 0; i < destinationLength; ++i) {
        const double start = sourceStart + i * step;
        RealSpan real = axis.interpolates ? linearBetweenCentres(start + step / 2, sourceLength)
                                          : areaAverage(start, start + step, sourceLength);
        if (real.weights.empty())
            real.add(static_cast<int>(start), sourceLength, 1.0);

        double total = 0;
        for (double weight : real.weights)
            total += weight;
        // Rounding the running sum, not each weight, makes the integers add up to `one`.
        Span span{real.first, static_cast<int>(real.weights.size()),
                  static_cast<int>(axis.weights.size())};
        double running = 0;
        int given = 0;
        for (double weight : real.weights) {
            running += weight;
            const int upTo = static_cast<int>(std::lround(running / total * one));
            axis.weights.push_back(static_cast<std::int16_t>(upTo - given));
            given = upTo;
        }
        axis.spans.push_back(span);
    }
    return axis;
}

}  // namespace TWQuickTime::image
