// Timecode arguments and the text of timecodes.
#pragma once

#include <TimeCodeMedia.h>
#include <ToolboxTypes.h>

#include <optional>
#include <string>

namespace twqt {

/// "01:00:00:00", with ";" in front of the frames where labels are left out and "-" in front of a
/// negative one.
std::string timeCodeText(const TWQuickTime::TimeCodeDef& definition,
                         const TWQuickTime::TimeCodeRecord& timeCode);

/// The timecode at the beginning of a movie's first timecode track; none without one.
std::optional<std::string> startTimeCodeText(TWQuickTime::Movie movie);

}  // namespace twqt
