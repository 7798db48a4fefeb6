#include "NSString.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <ostream>

#include "Private/DecimalPrefix.h"
#include "Private/UTF8Decoder.h"

namespace TWQuickTime {

// The UTF-16 view is made when it is first asked for; threads that ask at the same time agree on
// one of their results.
struct NSString::Rep {
    explicit Rep(std::string text)
        : utf8(std::move(text)),
          isASCII(std::ranges::all_of(utf8, [](char c) { return !(c & 0x80); })) {}
    Rep(const Rep&) = delete;
    Rep& operator=(const Rep&) = delete;
    ~Rep() { delete cachedUnits.load(std::memory_order_acquire); }

    const std::u16string& units() const {
        if (const std::u16string* ready = cachedUnits.load(std::memory_order_acquire))
            return *ready;
        auto mine = std::make_unique<const std::u16string>(unicode::utf16FromUTF8(utf8));
        const std::u16string* expected = nullptr;
        if (cachedUnits.compare_exchange_strong(expected, mine.get(), std::memory_order_acq_rel))
            return *mine.release();
        return *expected;
    }

    const std::string utf8;
    const bool isASCII;
    mutable std::atomic<const std::u16string*> cachedUnits = nullptr;
};

NSString::NSString(const char* utf8)
    : rep_(utf8 ? std::make_shared<const Rep>(std::string(utf8)) : nullptr) {}

NSString::NSString(std::string utf8) : rep_(std::make_shared<const Rep>(std::move(utf8))) {}

NSString::NSString(std::string_view utf8) : NSString(std::string(utf8)) {}

const std::string& NSString::utf8() const noexcept {
    static const std::string empty;
    return rep_ ? rep_->utf8 : empty;
}

std::size_t NSString::length() const noexcept {
    if (!rep_)
        return 0;
    return rep_->isASCII ? rep_->utf8.size() : rep_->units().size();
}

char16_t NSString::characterAtIndex(std::size_t index) const noexcept {
    if (index >= length())
        return 0;
    return rep_->isASCII ? static_cast<char16_t>(rep_->utf8[index]) : rep_->units()[index];
}

std::u16string NSString::utf16() const {
    if (!rep_)
        return {};
    if (rep_->isASCII)
        return std::u16string(rep_->utf8.begin(), rep_->utf8.end());
    return rep_->units();
}

NSString NSString::stringWithUTF16(std::u16string_view units) {
    return NSString(unicode::utf8FromUTF16(units));
}

NSString NSString::stringByAppendingString(const NSString& other) const {
    if (!rep_)
        return nullptr;
    return other.utf8().empty() ? *this : NSString(utf8() + other.utf8());
}

NSString NSString::substringWithRange(std::size_t locationUTF16, std::size_t lengthUTF16) const {
    if (!rep_)
        return nullptr;
    const std::size_t start = std::min(locationUTF16, length());
    const std::size_t count = std::min(lengthUTF16, length() - start);
    if (count == length())
        return *this;
    if (rep_->isASCII)
        return NSString(std::string_view(rep_->utf8).substr(start, count));
    return stringWithUTF16(std::u16string_view(rep_->units()).substr(start, count));
}

bool NSString::hasPrefix(const NSString& prefix) const noexcept {
    return rep_ && prefix.rep_ && utf8().starts_with(prefix.utf8());
}

bool NSString::hasSuffix(const NSString& suffix) const noexcept {
    return rep_ && suffix.rep_ && utf8().ends_with(suffix.utf8());
}

NSString NSString::stringByTrimmingWhitespace() const {
    if (!rep_)
        return nullptr;
    constexpr std::string_view whitespace = " \t\n\v\f\r";
    const std::string_view text = rep_->utf8;
    const std::size_t first = text.find_first_not_of(whitespace);
    if (first == std::string_view::npos)
        return NSString("");
    const std::size_t last = text.find_last_not_of(whitespace);
    return last - first + 1 == text.size() ? *this : NSString(text.substr(first, last - first + 1));
}

std::int32_t NSString::intValue() const noexcept {
    constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t greatest = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(longLongValue(), least, greatest));
}

std::int64_t NSString::longLongValue() const noexcept {
    return leadingInteger(utf8());
}

double NSString::doubleValue() const noexcept {
    return leadingReal(utf8());
}

bool NSString::boolValue() const noexcept {
    std::string_view text = utf8();
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+') || text.starts_with('-'))
        text.remove_prefix(1);
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != text.npos;
}

std::strong_ordering NSString::compare(const NSString& other) const noexcept {
    if (!rep_ || !other.rep_)
        return (rep_ != nullptr) <=> (other.rep_ != nullptr);
    if (rep_->isASCII && other.rep_->isASCII)
        return rep_->utf8 <=> other.rep_->utf8;
    const std::strong_ordering byUnits = utf16() <=> other.utf16();
    // Different ill-formed bytes look alike in UTF-16; only equal strings may compare as equal.
    return byUnits != 0 ? byUnits : rep_->utf8 <=> other.rep_->utf8;
}

std::ostream& operator<<(std::ostream& to, const NSString& text) {
    return text.isNil() ? to << "(null)" : to << text.utf8();
}

}  // namespace TWQuickTime
