#include "Engines/timeline/NumberColumn.h"

namespace TWQuickTime::timeline {

std::size_t NumberColumn::firstRowFrom(std::uint32_t wanted) const {
    std::size_t low = 0;
    std::size_t high = rowCount();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (number(middle) < wanted)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

bool NumberColumn::contains(std::uint32_t wanted) const {
    const std::size_t row = firstRowFrom(wanted);
    return row < rowCount() && number(row) == wanted;
}

void NumberColumn::startWithAll(std::uint32_t count) {
    present_ = true;
    rows_ = TableBytes();
    for (std::uint32_t wanted = 1; wanted <= count && wanted != 0; ++wanted)
        append(wanted);
}

}  // namespace TWQuickTime::timeline
