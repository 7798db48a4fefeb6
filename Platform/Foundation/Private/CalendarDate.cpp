#include "Private/CalendarDate.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "Private/WhiteSpace.h"

namespace TWQuickTime {
namespace {

struct CivilDate {
    std::int64_t year = 0;
    unsigned month = 1;
    unsigned day = 1;
};

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kDaysPerEra = 146097;  // 400 years
constexpr double kFarthestSeconds = 3.0e15;

/// Days since 0000-03-01; years begin in March, so that leap days come last.
constexpr std::int64_t dayNumber(CivilDate date) {
    const std::int64_t year = date.year - (date.month <= 2);
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear =
        (153 * (date.month + (date.month > 2 ? -3u : 9u)) + 2) / 5 + date.day - 1;
    return era * kDaysPerEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
}
constexpr std::int64_t kReferenceDay = dayNumber({2001, 1, 1});

CivilDate civilDate(std::int64_t day) {
    const std::int64_t era = (day >= 0 ? day : day - (kDaysPerEra - 1)) / kDaysPerEra;
    const auto dayOfEra = static_cast<unsigned>(day - era * kDaysPerEra);
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned marchMonth = (5 * dayOfYear + 2) / 153;
    const unsigned month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
    return {yearOfEra + era * 400 + (month <= 2), month,
            dayOfYear - (153 * marchMonth + 2) / 5 + 1};
}

unsigned daysInMonth(std::int64_t year, unsigned month) {
    if (month == 2)
        return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0 ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

/// Takes digits off the front of a text, and the separator after them.
class FieldReader {
  public:
    explicit FieldReader(std::string_view text) : text_(text) {}

    std::int64_t take(std::size_t fewestDigits, std::size_t mostDigits, char separator) {
        std::size_t digits = 0;
        std::int64_t value = 0;
        while (digits < text_.size() && digits < mostDigits && text_[digits] >= '0' &&
               text_[digits] <= '9')
            value = value * 10 + (text_[digits++] - '0');
        ok_ = ok_ && digits >= fewestDigits && digits < text_.size() && text_[digits] == separator;
        if (ok_)
            text_.remove_prefix(digits + 1);
        return value;
    }
    bool tookAll() const { return ok_ && text_.empty(); }

  private:
    std::string_view text_;
    bool ok_ = true;
};

}  // namespace

std::optional<NSDate> dateFromISO8601(std::string_view text) {
    text = withoutOuterWhiteSpace(text);
    const bool beforeYearZero = text.starts_with('-');
    FieldReader fields(beforeYearZero ? text.substr(1) : text);
    const std::int64_t years = fields.take(4, 8, '-');
    const std::int64_t month = fields.take(2, 2, '-');
    const std::int64_t day = fields.take(2, 2, 'T');
    const std::int64_t hour = fields.take(2, 2, ':');
    const std::int64_t minute = fields.take(2, 2, ':');
    const std::int64_t second = fields.take(2, 2, 'Z');
    const std::int64_t year = beforeYearZero ? -years : years;
    if (!fields.tookAll() || month < 1 || month > 12 || day < 1 ||
        day > daysInMonth(year, static_cast<unsigned>(month)) || hour > 23 || minute > 59 ||
        second > 59)
        return std::nullopt;
    const std::int64_t days =
        dayNumber({year, static_cast<unsigned>(month), static_cast<unsigned>(day)}) - kReferenceDay;
    const auto seconds =
        static_cast<double>(days * kSecondsPerDay + hour * 3600 + minute * 60 + second);
    if (std::abs(seconds) >= kFarthestSeconds)
        return std::nullopt;
    return NSDate{seconds};
}

std::string iso8601FromDate(NSDate date) {
    if (!(std::abs(date.secondsSinceReferenceDate) < kFarthestSeconds))
        return {};
    const auto seconds = static_cast<std::int64_t>(std::floor(date.secondsSinceReferenceDate));
    std::int64_t days = seconds / kSecondsPerDay;
    std::int64_t rest = seconds % kSecondsPerDay;
    if (rest < 0) {
        rest += kSecondsPerDay;
        --days;
    }
    const CivilDate civil = civilDate(days + kReferenceDay);
    char text[64];
    std::snprintf(text, sizeof text, "%s%04lld-%02u-%02uT%02d:%02d:%02dZ",
                  civil.year < 0 ? "-" : "",
                  static_cast<long long>(civil.year < 0 ? -civil.year : civil.year), civil.month,
                  civil.day, static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60),
                  static_cast<int>(rest % 60));
    return text;
}

}  // namespace TWQuickTime
