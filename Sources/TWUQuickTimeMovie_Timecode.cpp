#include <algorithm>
#include <array>
#include <string_view>

#include "TWUQuickTimeMovie.h"

namespace TWQuickTime {
namespace {

/// Builds the text from its end, where the fields are known to be bytes.
class TimeCodeTextWriter {
  public:
    void prependField(std::uint8_t value) {
        const int hundreds = value / 100;
        const int rest = value % 100;
        text_[--start_] = static_cast<char>('0' + rest % 10);
        text_[--start_] = static_cast<char>('0' + rest / 10);
        if (hundreds != 0)
            text_[--start_] = static_cast<char>('0' + hundreds);
    }
    void prepend(char character) { text_[--start_] = character; }
    std::string_view text() const { return {text_.data() + start_, text_.size() - start_}; }

  private:
    std::array<char, 16> text_;  // "-255:255:255:255"
    std::size_t start_ = text_.size();
};

/// 32-bit arithmetic that wraps.
std::int32_t wrapped(std::uint32_t value) {
    return static_cast<std::int32_t>(value);
}

/// Negative counts, left by a wrap-around, become 0 before the upper bound is looked at, whatever
/// that bound is.
std::int32_t clampField(std::int32_t value, std::int32_t upperBound) {
    return std::min(std::max(value, 0), upperBound);
}

class TimeCodeParser {
  public:
    /// False for a character that no timecode has.
    bool take(unsigned int character) {
        const unsigned int lowByte = character & 0xFF;
        if (lowByte >= '0' && lowByte <= '9') {
            frames_ = frames_ * 10 + (lowByte - '0');
        } else if (lowByte == ':') {
            hours_ = minutes_;
            minutes_ = seconds_;
            seconds_ = frames_;
            frames_ = 0;
        } else if (lowByte == '-') {
            negative_ = true;
        } else {
            return false;
        }
        return true;
    }

    void store(std::int32_t frameRate, TimeCodeTime* timeCode, std::int32_t* frameNumber) const {
        const std::int32_t hours = clampField(wrapped(hours_), 255);
        const std::int32_t minutes = clampField(wrapped(minutes_), 59);
        const std::int32_t seconds = clampField(wrapped(seconds_), 59);
        const std::int32_t frames =
            clampField(wrapped(frames_), wrapped(static_cast<std::uint32_t>(frameRate) - 1));
        if (timeCode)
            *timeCode = {static_cast<std::uint8_t>(hours), static_cast<std::uint8_t>(minutes),
                         static_cast<std::uint8_t>(seconds), static_cast<std::uint8_t>(frames)};
        if (!frameNumber)
            return;
        const std::uint32_t total =
            static_cast<std::uint32_t>(frames) +
            static_cast<std::uint32_t>(minutes * 60 + hours * 3600 + seconds) *
                static_cast<std::uint32_t>(frameRate);
        *frameNumber = wrapped(negative_ ? 0u - total : total);
    }

  private:
    std::uint32_t hours_ = 0, minutes_ = 0, seconds_ = 0, frames_ = 0;
    bool negative_ = false;
};

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

NSString TWUQuickTimeMovie::timeCodeStringForFrame(std::int32_t frame, std::int32_t withFrameRate,
                                                   bool addFrame, bool addHour) {
    if (withFrameRate == 0)
        return nullptr;
    const std::uint32_t bits = static_cast<std::uint32_t>(frame);
    const TimeCodeTime timeCode =
        TWUQuickTimeMovie::frameToTimeCode(wrapped(frame < 0 ? 0u - bits : bits), withFrameRate);
    TimeCodeTextWriter writer;
    if (addFrame) {
        writer.prependField(timeCode.frames);
        writer.prepend(':');
    }
    writer.prependField(timeCode.seconds);
    writer.prepend(':');
    writer.prependField(timeCode.minutes);
    if (addHour) {
        writer.prepend(':');
        writer.prependField(timeCode.hours);
    }
    if (frame < 0)
        writer.prepend('-');
    return NSString(writer.text());
}

NSString TWUQuickTimeMovie::timeCodeStringForTimeCode(TimeCodeTime timeCode,
                                                      std::int32_t withFrameRate, bool addFrame,
                                                      bool addHour) {
    return TWUQuickTimeMovie::timeCodeStringForFrame(
        TWUQuickTimeMovie::timeCodeToFrame(timeCode, withFrameRate), withFrameRate, addFrame,
        addHour);
}

OSErr TWUQuickTimeMovie::timeCodeStringToTCT(const NSString& string, std::int32_t withFrameRate,
                                             TimeCodeTime* resultTimeCode,
                                             std::int32_t* resultFrameNumber) {
    if (!string)
        return -1;
    TimeCodeParser parser;
    const std::string& bytes = string.utf8();
    if (isAscii(bytes)) {
        for (const char character : bytes)
            if (!parser.take(static_cast<unsigned char>(character)))
                return -1;
    } else {
        for (const char16_t unit : string.utf16())
            if (!parser.take(unit))
                return -1;
    }
    parser.store(withFrameRate, resultTimeCode, resultFrameNumber);
    return noErr;
}

}  // namespace TWQuickTime
