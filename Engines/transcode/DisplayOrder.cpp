#include "Engines/transcode/DisplayOrder.h"

#include <algorithm>

namespace TWQuickTime::transcode {

DisplayOrder::DisplayOrder(const timeline::SampleTable& table) {
    samples_.reserve(table.sampleCount());
    timeline::SampleTable::Cursor cursor = table.cursor(0);
    bool sorted = true;
    for (timeline::Sample sample; cursor.next(sample);) {
        sorted =
            sorted && (samples_.empty() || samples_.back().displayTime <= sample.displayTime());
        samples_.push_back({sample.displayTime(), sample.index});
    }
    if (!sorted) {
        std::ranges::stable_sort(samples_, {}, &ShownSample::displayTime);
    }
}

std::size_t DisplayOrder::positionAt(std::int64_t mediaTime) const {
    const auto after = std::ranges::upper_bound(samples_, mediaTime, {}, &ShownSample::displayTime);
    return after == samples_.begin() ? 0 : std::size_t(after - samples_.begin()) - 1;
}

}  // namespace TWQuickTime::transcode
