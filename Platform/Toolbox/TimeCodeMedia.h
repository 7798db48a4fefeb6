// The timecode media handler: frame numbers from timecodes and back, by a definition that says how
// a track counts.
//
// Drop-frame counting is applied where the definition asks for it and its frames per second are a
// multiple of 30; at any other rate the flag is kept but every label is counted, so that each valid
// label comes back as itself.
//
//     TimeCodeRecord record;
//     TCGetTimeCodeAtTime(handler, 0, nullptr, nullptr, &record, nullptr);
#pragma once

#include "Media.h"
#include "TimeCodeTime.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

// Flags of a definition.
inline constexpr std::uint32_t tcDropFrame = 1;
inline constexpr std::uint32_t tc24HourMax = 2;
inline constexpr std::uint32_t tcNegTimesOK = 4;
inline constexpr std::uint32_t tcCounter = 8;
/// Flag of a timecode track: show the timecode in the picture.
inline constexpr std::int32_t tcdfShowTimeCode = 1;

/// How a timecode track counts.
struct TimeCodeDef {
    std::uint32_t flags = 0;
    TimeScale fTimeScale = 0;     ///< units per second in which the frame duration is given
    TimeValue frameDuration = 0;  ///< length of one frame in those units
    std::uint8_t numFrames = 0;   ///< labels in a second, or frames of one tape counter unit
    std::uint8_t padding = 0;
    friend bool operator==(const TimeCodeDef&, const TimeCodeDef&) = default;
};

/// A timecode, or the value of a tape counter.
union TimeCodeRecord {
    TimeCodeTime t{};
    std::uint32_t counter;
};

/// @param flags, mask  the bits of `mask` are set as in `flags`
TWQT_EXPORT OSErr TCSetTimeCodeFlags(MediaHandler handler, std::int32_t flags, std::int32_t mask);
TWQT_EXPORT OSErr TCGetTimeCodeFlags(MediaHandler handler, std::int32_t* flags);

/// Attaches a source name (a list with a text 'name') to a timecode description.
TWQT_EXPORT OSErr TCSetSourceRef(MediaHandler handler, SampleDescriptionHandle description,
                                 UserData source);
/// @param source  a new list, disposed of by the caller; empty when there is no name
TWQT_EXPORT OSErr TCGetSourceRef(MediaHandler handler, SampleDescriptionHandle description,
                                 UserData* source);

/// Reads the definition out of a description.
/// @return -2041 when the bytes are no timecode description
TWQT_EXPORT OSErr GetTimeCodeDefinition(SampleDescriptionHandle description, TimeCodeDef* def);

TWQT_EXPORT OSErr TCTimeCodeToFrameNumber(MediaHandler handler, const TimeCodeDef* def,
                                          const TimeCodeRecord* timeCode,
                                          std::int32_t* frameNumber);
TWQT_EXPORT OSErr TCFrameNumberToTimeCode(MediaHandler handler, std::int32_t frameNumber,
                                          const TimeCodeDef* def, TimeCodeRecord* timeCode);
/// The timecode that a media time shows.
/// @param frameNumber, def, timeCode, source  each may be null; `source` is disposed of by the
///     caller
/// @return -2015 when no sample covers the time
TWQT_EXPORT OSErr TCGetTimeCodeAtTime(MediaHandler handler, TimeValue mediaTime,
                                      std::int32_t* frameNumber, TimeCodeDef* def,
                                      TimeCodeRecord* timeCode, UserData* source);
/// The timecode at the movie's current time.
TWQT_EXPORT OSErr TCGetCurrentTimeCode(MediaHandler handler, std::int32_t* frameNumber,
                                       TimeCodeDef* def, TimeCodeRecord* timeCode,
                                       UserData* source);

}  // namespace TWQuickTime
