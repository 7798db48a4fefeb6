// Dates as ISO 8601 text in UTC with whole seconds ("1981-05-16T11:32:06Z"), the form of XML
// property lists. The calendar is the Gregorian one throughout.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "PropertyListValue.h"

namespace TWQuickTime {

/// White space around it is skipped; nothing for a day or time that does not exist.
std::optional<NSDate> dateFromISO8601(std::string_view text);
/// Fractions are cut down to the second before; "" for a date that is not finite or that lies more
/// than about a hundred million years away.
std::string iso8601FromDate(NSDate date);

}  // namespace TWQuickTime
