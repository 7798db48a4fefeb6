// How a timecode track counts: from labels (hours, minutes, seconds, frames) to frame numbers and
// back, and from media time to frames.
//
// Drop-frame counting leaves out labels, not frames: the first 2 of every minute that is not a
// multiple of ten at 30 labels a second, 4 at 60, 8 at 120. At rates that are no multiple of 30
// there is no such rule, and every label is counted whatever the flag says.
//
//     TimeCodeFormat format{.flags = kTimeCodeDropFrame, .timeScale = 30000, .frameDuration = 1001,
//                           .framesPerSecond = 30};
//     labelOfFrame(format, 1800);   // 00:01:00;02
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace TWQuickTime::timeline {

constexpr std::uint32_t kTimeCodeDropFrame = 1;
constexpr std::uint32_t kTimeCode24HourMax = 2;
constexpr std::uint32_t kTimeCodeNegativeTimesOK = 4;
constexpr std::uint32_t kTimeCodeCounter = 8;

struct TimeCodeFormat {
    std::uint32_t flags = 0;
    std::uint32_t timeScale = 0;        ///< units per second of the frame duration
    std::uint32_t frameDuration = 0;    ///< of one frame, in those units
    std::uint32_t framesPerSecond = 0;  ///< labels in a second; of a counter: frames in one count
    bool operator==(const TimeCodeFormat&) const = default;
};

/// One label. Fields may lie beyond their usual range; they count for what they are.
struct TimeCodeLabel {
    bool negative = false;
    std::uint32_t hours = 0, minutes = 0, seconds = 0, frames = 0;
    bool operator==(const TimeCodeLabel&) const = default;
};

/// Whether labels are left out.
bool countsDropFrame(const TimeCodeFormat& format);

/// The frame of a label. A label that drop-frame counting leaves out gives the frame that many
/// before the label after the gap.
std::int64_t frameOfLabel(const TimeCodeFormat& format, const TimeCodeLabel& label);

/// The label of a frame, reduced to one day when the format says so. Without that, hours go on.
/// A negative frame keeps its sign where the format allows it or a day cannot be added.
TimeCodeLabel labelOfFrame(const TimeCodeFormat& format, std::int64_t frame);

/// Whole frames in a stretch of media time, rounded down.
/// @param duration   media units
/// @param timeScale  media units per second
std::int64_t framesInMediaTime(const TimeCodeFormat& format, std::int64_t duration,
                               std::uint32_t timeScale);

/// The format in a timecode sample description ('tmcd', 34 bytes or more); none in other bytes.
std::optional<TimeCodeFormat> timeCodeFormatOfDescription(std::span<const std::byte> description);

}  // namespace TWQuickTime::timeline
