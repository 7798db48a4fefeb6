// Class methods around movies: timecode arithmetic and strings.
//
// Timecode here is plain non-drop-frame counting at a whole number of frames per second; 29.97 is
// passed as 30. Frame numbers and rates are 32-bit and wrap like the registers they come from.
//
//     TimeCodeTime tc = TWUQuickTimeMovie::frameToTimeCode(93079, 25);           // 1, 2, 3, 4
//     NSString text = TWUQuickTimeMovie::timeCodeStringForFrame(93079, 25, true, true);
#pragma once

#include <cstdint>

#include "NSString.h"
#include "TWQTExport.h"
#include "TimeCodeTime.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT TWUQuickTimeMovie {
  public:
    // Timecode. Pure functions; any thread; nothing is logged.

    /// Frame number of a timecode.       (timeCodeToFrame:withFrameRate:)
    /// No field is limited: 90 seconds or 30 frames at rate 25 simply add in, and the sum wraps at
    /// 32 bits. Rate 0 gives the frames field alone.
    static constexpr std::int32_t timeCodeToFrame(TimeCodeTime timeCode,
                                                  std::int32_t withFrameRate) noexcept;

    /// Splits a frame number into a timecode.       (frameToTimeCode:withFrameRate:)
    /// Every field is stored as its low 8 bits: hours are not reduced by days and wrap at 256, and
    /// negative frames give two's-complement bytes (on purpose: frame -1 at 25 is 0, 0, 0, 255).
    /// @param withFrameRate  whole frames per second; 0 gives the all-zero record
    static constexpr TimeCodeTime frameToTimeCode(std::int32_t frame,
                                                  std::int32_t withFrameRate) noexcept;

    /// "MM:SS", with the frames ":FF" behind and the hours "HH:" in front as asked for, and "-" in
    /// front of all for a negative frame.
    /// (timeCodeStringForFrame:withFrameRate:addFrame:addHour:)
    /// @return nil at rate 0. A field of three digits is written with all of them.
    static NSString timeCodeStringForFrame(std::int32_t frame, std::int32_t withFrameRate,
                                           bool addFrame, bool addHour);

    /// The string of the frame that the timecode stands for, so that fields beyond their range come
    /// out carried over.       (timeCodeStringForTimeCode:withFrameRate:addFrame:addHour:)
    static NSString timeCodeStringForTimeCode(TimeCodeTime timeCode, std::int32_t withFrameRate,
                                              bool addFrame, bool addHour);

    /// Reads a typed timecode; groups between ":" are filled from the right, so that "5:12" is 5
    /// seconds 12 frames. A "-" anywhere makes the frame number (not the record) negative.
    /// (timeCodeStringToTCT:withFrameRate:resultTimeCode:resultFrameNumber:)
    /// Characters are judged by their low 8 bits only (on purpose). Fields are clamped silently to
    /// 255, 59, 59 and rate - 1; at rate 0 that leaves 255 in the record's frames and the frame
    /// number -1 (on purpose: callers must not pass 0).
    /// @param resultTimeCode  may be null
    /// @param resultFrameNumber  may be null
    /// @return 0; or -1 with nothing written, for nil or at any other character
    static OSErr timeCodeStringToTCT(const NSString& string, std::int32_t withFrameRate,
                                     TimeCodeTime* resultTimeCode, std::int32_t* resultFrameNumber);
};

constexpr std::int32_t TWUQuickTimeMovie::timeCodeToFrame(TimeCodeTime timeCode,
                                                          std::int32_t withFrameRate) noexcept {
    const std::uint32_t seconds =
        timeCode.hours * 3600u + timeCode.minutes * 60u + timeCode.seconds;
    return static_cast<std::int32_t>(seconds * static_cast<std::uint32_t>(withFrameRate) +
                                     timeCode.frames);
}

constexpr TimeCodeTime TWUQuickTimeMovie::frameToTimeCode(std::int32_t frame,
                                                          std::int32_t withFrameRate) noexcept {
    if (withFrameRate == 0)
        return {};
    // The one quotient that does not fit, the least frame at rate -1, wraps like all the rest.
    const std::int32_t totalSeconds =
        withFrameRate == -1 ? static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(frame))
                            : frame / withFrameRate;
    const std::int32_t totalMinutes = totalSeconds / 60;
    const std::uint32_t frames =
        static_cast<std::uint32_t>(frame) -
        static_cast<std::uint32_t>(totalSeconds) * static_cast<std::uint32_t>(withFrameRate);
    return {static_cast<std::uint8_t>(totalSeconds / 3600),
            static_cast<std::uint8_t>(totalMinutes - 60 * (totalMinutes / 60)),
            static_cast<std::uint8_t>(totalSeconds - 60 * totalMinutes),
            static_cast<std::uint8_t>(frames)};
}

}  // namespace TWQuickTime
