#include "TimeCodeText.h"

#include <TWUQuickTimeMovie.h>

#include <cstdio>

namespace twqt {

using namespace TWQuickTime;

std::string timeCodeText(const TimeCodeDef& definition, const TimeCodeRecord& timeCode) {
    if (definition.flags & tcCounter)
        return std::to_string(timeCode.counter);
    const bool drops = (definition.flags & tcDropFrame) && definition.numFrames % 30 == 0;
    const bool negative = (definition.flags & tcNegTimesOK) && (timeCode.t.minutes & 0x80) != 0;
    const int minutes = negative ? timeCode.t.minutes & 0x7F : timeCode.t.minutes;
    char text[24];
    std::snprintf(text, sizeof text, "%s%02d:%02d:%02d%c%02d", negative ? "-" : "",
                  timeCode.t.hours, minutes, timeCode.t.seconds, drops ? ';' : ':',
                  timeCode.t.frames);
    return text;
}

std::optional<std::string> startTimeCodeText(Movie movie) {
    const MediaHandler handler = TWUQuickTimeMovie::getTimeCodeMediaHandlerOfMovie(movie);
    TimeCodeDef definition;
    TimeCodeRecord timeCode;
    if (!handler ||
        TCGetTimeCodeAtTime(handler, 0, nullptr, &definition, &timeCode, nullptr) != noErr)
        return std::nullopt;
    return timeCodeText(definition, timeCode);
}

}  // namespace twqt
