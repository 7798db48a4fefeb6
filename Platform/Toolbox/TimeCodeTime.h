// The four-byte timecode record that the toolbox and its callers pass by value.
//
//     TimeCodeTime start{1, 0, 0, 0};   // 01:00:00:00
#pragma once

#include <cstdint>

namespace TWQuickTime {

/// Hours, minutes, seconds and frames as unsigned bytes. Nothing keeps a field inside its usual
/// range; a negative timecode of the timecode media carries its sign in the top bit of `minutes`.
struct TimeCodeTime {
    std::uint8_t hours = 0;
    std::uint8_t minutes = 0;
    std::uint8_t seconds = 0;
    std::uint8_t frames = 0;
    friend constexpr bool operator==(const TimeCodeTime&, const TimeCodeTime&) = default;
};

}  // namespace TWQuickTime
