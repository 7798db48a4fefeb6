// The samples of a video media in the order in which they are shown.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Engines/timeline/SampleTable.h"

namespace TWQuickTime::transcode {

/// One shown sample.
struct ShownSample {
    std::int64_t displayTime = 0;  ///< media time units
    std::uint32_t index = 0;       ///< in decode order
};

class DisplayOrder {
  public:
    explicit DisplayOrder(const timeline::SampleTable& table);

    bool empty() const { return samples_.empty(); }
    std::size_t size() const { return samples_.size(); }
    const ShownSample& at(std::size_t position) const { return samples_[position]; }
    /// The sample shown at a media time: before the first one the first, after the last one the
    /// last. Only for orders that are not empty.
    std::size_t positionAt(std::int64_t mediaTime) const;

  private:
    std::vector<ShownSample> samples_;
};

}  // namespace TWQuickTime::transcode
