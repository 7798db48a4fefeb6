#include "Engines/timeline/TimeCode.h"

#include "Engines/timeline/FourCharCode.h"

namespace TWQuickTime::timeline {
namespace {

__extension__ using Wide = __int128;

// Offsets in a 'tmcd' sample description.
constexpr std::size_t kFormatOffset = 4;
constexpr std::size_t kFlagsOffset = 20;
constexpr std::size_t kTimeScaleOffset = 24;
constexpr std::size_t kFrameDurationOffset = 28;
constexpr std::size_t kFramesPerSecondOffset = 32;
constexpr std::size_t kLeastDescriptionInBytes = 34;

/// Labels left out at the start of a minute.
std::int64_t droppedPerMinute(const TimeCodeFormat& format) {
    return countsDropFrame(format) ? 2 * (format.framesPerSecond / 30) : 0;
}

std::int64_t framesPerMinute(const TimeCodeFormat& format) {
    return 60 * std::int64_t{format.framesPerSecond} - droppedPerMinute(format);
}

std::int64_t framesPerTenMinutes(const TimeCodeFormat& format) {
    return 10 * framesPerMinute(format) + droppedPerMinute(format);
}

std::int64_t framesPerDay(const TimeCodeFormat& format) {
    return 144 * framesPerTenMinutes(format);
}

/// The number that the frame would have if no label were left out.
std::int64_t withDroppedLabels(const TimeCodeFormat& format, std::int64_t frame) {
    const std::int64_t dropped = droppedPerMinute(format);
    if (dropped == 0)
        return frame;
    const std::int64_t tens = frame / framesPerTenMinutes(format);
    const std::int64_t rest = frame % framesPerTenMinutes(format);
    // The first minute of ten has all its labels.
    const std::int64_t firstMinute = 60 * std::int64_t{format.framesPerSecond};
    const std::int64_t shortMinutes =
        rest < firstMinute ? 0 : 1 + (rest - firstMinute) / framesPerMinute(format);
    return frame + dropped * (9 * tens + shortMinutes);
}

std::uint32_t bigEndian32(std::span<const std::byte> bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[offset + i]);
    return value;
}

}  // namespace

bool countsDropFrame(const TimeCodeFormat& format) {
    return (format.flags & kTimeCodeDropFrame) != 0 && format.framesPerSecond != 0 &&
           format.framesPerSecond % 30 == 0;
}

std::int64_t frameOfLabel(const TimeCodeFormat& format, const TimeCodeLabel& label) {
    const std::int64_t minutes = std::int64_t{label.hours} * 60 + label.minutes;
    const std::int64_t frame = (minutes * 60 + label.seconds) * format.framesPerSecond +
                               label.frames - droppedPerMinute(format) * (minutes - minutes / 10);
    return label.negative ? -frame : frame;
}

TimeCodeLabel labelOfFrame(const TimeCodeFormat& format, std::int64_t frame) {
    if (format.framesPerSecond == 0)
        return {};
    const bool wraps = (format.flags & kTimeCode24HourMax) != 0;
    const bool mayBeNegative = (format.flags & kTimeCodeNegativeTimesOK) != 0;
    if (wraps)
        frame %= framesPerDay(format);
    if (wraps && frame < 0 && !mayBeNegative)
        frame += framesPerDay(format);
    TimeCodeLabel label;
    label.negative = frame < 0;
    const std::int64_t counted = withDroppedLabels(format, label.negative ? -frame : frame);
    const std::int64_t seconds = counted / format.framesPerSecond;
    label.frames = static_cast<std::uint32_t>(counted % format.framesPerSecond);
    label.seconds = static_cast<std::uint32_t>(seconds % 60);
    label.minutes = static_cast<std::uint32_t>(seconds / 60 % 60);
    label.hours = static_cast<std::uint32_t>(seconds / 3600);
    return label;
}

std::int64_t framesInMediaTime(const TimeCodeFormat& format, std::int64_t duration,
                               std::uint32_t timeScale) {
    if (timeScale == 0)
        return 0;
    // A record without a usable frame length counts by its labels in a second.
    const bool exact = format.timeScale != 0 && format.frameDuration != 0;
    const Wide numerator = Wide{duration} * (exact ? format.timeScale : format.framesPerSecond);
    const Wide denominator = Wide{timeScale} * (exact ? format.frameDuration : 1);
    Wide frames = numerator / denominator;
    if (numerator % denominator < 0)
        --frames;
    return static_cast<std::int64_t>(frames);
}

std::optional<TimeCodeFormat> timeCodeFormatOfDescription(std::span<const std::byte> description) {
    if (description.size() < kLeastDescriptionInBytes ||
        bigEndian32(description, kFormatOffset) != fourCharCode("tmcd"))
        return std::nullopt;
    return TimeCodeFormat{
        .flags = bigEndian32(description, kFlagsOffset),
        .timeScale = bigEndian32(description, kTimeScaleOffset),
        .frameDuration = bigEndian32(description, kFrameDurationOffset),
        .framesPerSecond = std::to_integer<std::uint32_t>(description[kFramesPerSecondOffset])};
}

}  // namespace TWQuickTime::timeline
