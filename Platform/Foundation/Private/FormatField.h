// One conversion of a format, taken apart: "%-08.3ld".
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace TWQuickTime {

/// Wider fields and longer precisions are cut to this, so that no format can ask for gigabytes.
inline constexpr int formatWidthMaximum = 4096;

struct FormatField {
    /// Counted from 1, for "%2$@"; none takes the next argument.
    std::optional<std::size_t> position;
    bool leftAligned = false;
    bool zeroFilled = false;
    bool plusSign = false;
    bool blankSign = false;
    bool alternateForm = false;
    bool widthFromArgument = false;
    bool precisionFromArgument = false;
    /// Length letters "h" or "hh".
    bool isForShortType = false;
    std::optional<int> width;
    std::optional<int> precision;
    char conversion = 0;

    /// A negative width aligns to the left.
    void setWidth(std::optional<int> value);
    /// A negative precision counts as none.
    void setPrecision(std::optional<int> value);
};

struct ParsedConversion {
    FormatField field;
    std::size_t lengthInBytes = 0;
};

/// Reads the conversion at the start of the text, which begins with "%"; nothing when it is none.
std::optional<ParsedConversion> parseConversion(std::string_view text);

}  // namespace TWQuickTime
