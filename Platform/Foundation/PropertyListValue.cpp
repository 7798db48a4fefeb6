#include "PropertyListValue.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace TWQuickTime {
namespace {

template <class T>
inline constexpr bool isNumberType = std::is_same_v<T, bool> || std::is_same_v<T, std::int64_t> ||
                                     std::is_same_v<T, std::uint64_t> || std::is_same_v<T, double>;

/// 2 to the number of value bits: the first real above the type's range.
template <class Integer>
double endOfRange() {
    return std::ldexp(1.0, std::numeric_limits<Integer>::digits);
}

/// Cut toward zero, limited to the range; 0 for a NaN.
template <class Integer>
Integer integerFromReal(double real) {
    if (std::isnan(real))
        return 0;
    if (real >= endOfRange<Integer>())
        return std::numeric_limits<Integer>::max();
    if (real <= static_cast<double>(std::numeric_limits<Integer>::min()))
        return std::numeric_limits<Integer>::min();
    return static_cast<Integer>(real);
}

/// A whole number that 64 bits hold, whatever kind it was given in.
struct WholeNumber {
    bool isNegative = false;
    std::uint64_t lowBits = 0;
    friend bool operator==(const WholeNumber&, const WholeNumber&) = default;
};

template <class Number>
bool asWholeNumber(Number value, WholeNumber& whole) {
    if constexpr (std::is_same_v<Number, double>) {
        if (!(value >= static_cast<double>(std::numeric_limits<std::int64_t>::min())) ||
            value >= endOfRange<std::uint64_t>() || value != std::trunc(value))
            return false;
        whole.isNegative = value < 0;
        whole.lowBits = value < 0 ? static_cast<std::uint64_t>(static_cast<std::int64_t>(value))
                                  : static_cast<std::uint64_t>(value);
    } else {
        if constexpr (std::is_same_v<Number, std::int64_t>)
            whole.isNegative = value < 0;
        whole.lowBits = static_cast<std::uint64_t>(value);
    }
    return true;
}

template <class A, class B>
bool numbersAreEqual(A a, B b) {
    WholeNumber wholeA, wholeB;
    const bool isWholeA = asWholeNumber(a, wholeA), isWholeB = asWholeNumber(b, wholeB);
    if (isWholeA || isWholeB)
        return isWholeA && isWholeB && wholeA == wholeB;
    const auto realA = static_cast<double>(a), realB = static_cast<double>(b);
    // A value equals itself, also one that is not a number.
    return realA == realB || (std::isnan(realA) && std::isnan(realB));
}

std::size_t combine(std::size_t seed, std::size_t hash) {
    return seed ^ (hash + 0x9E3779B97F4A7C15u + (seed << 6) + (seed >> 2));
}

template <class Number>
std::size_t hashOfNumber(Number value) {
    WholeNumber whole;
    if (asWholeNumber(value, whole))
        return std::hash<std::uint64_t>()(whole.lowBits);
    const auto real = static_cast<double>(value);
    return std::isnan(real) ? 0 : std::hash<double>()(real);
}

}  // namespace

PropertyListValue::PropertyListValue(std::uint64_t value) {
    if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        storage_ = static_cast<std::int64_t>(value);
    else
        storage_ = value;
}

PropertyListValue::PropertyListValue(const char* utf8) : PropertyListValue(NSString(utf8)) {}

PropertyListValue::PropertyListValue(NSString value) {
    if (value)
        storage_ = std::move(value);
}

PropertyListValue::PropertyListValue(NSData value) {
    if (value)
        storage_ = std::move(value);
}

PropertyListValue::PropertyListValue(NSArray value) {
    if (value)
        storage_ = std::move(value);
}

PropertyListValue::PropertyListValue(NSDictionary value) {
    if (value)
        storage_ = std::move(value);
}

PropertyListValue::Kind PropertyListValue::kind() const noexcept {
    constexpr Kind kinds[] = {Kind::null, Kind::boolean, Kind::integer,   Kind::integer,
                              Kind::real, Kind::string,  Kind::data,      Kind::date,
                              Kind::uid,  Kind::array,   Kind::dictionary};
    static_assert(std::size(kinds) == std::variant_size_v<decltype(storage_)>);
    return kinds[storage_.index()];
}

bool PropertyListValue::isNumber() const noexcept {
    const Kind own = kind();
    return own == Kind::boolean || own == Kind::integer || own == Kind::real;
}

NSString PropertyListValue::stringValue() const noexcept {
    const auto* value = std::get_if<NSString>(&storage_);
    return value ? *value : NSString();
}

NSData PropertyListValue::dataValue() const noexcept {
    const auto* value = std::get_if<NSData>(&storage_);
    return value ? *value : NSData();
}

NSArray PropertyListValue::arrayValue() const noexcept {
    const auto* value = std::get_if<NSArray>(&storage_);
    return value ? *value : NSArray();
}

NSDictionary PropertyListValue::dictionaryValue() const noexcept {
    const auto* value = std::get_if<NSDictionary>(&storage_);
    return value ? *value : NSDictionary();
}

NSDate PropertyListValue::dateValue() const noexcept {
    const auto* value = std::get_if<NSDate>(&storage_);
    return value ? *value : NSDate();
}

PropertyListUID PropertyListValue::uidValue() const noexcept {
    const auto* value = std::get_if<PropertyListUID>(&storage_);
    return value ? *value : PropertyListUID();
}

std::int32_t PropertyListValue::intValue() const noexcept {
    if (const auto* real = std::get_if<double>(&storage_))
        return integerFromReal<std::int32_t>(*real);
    if (const auto* text = std::get_if<NSString>(&storage_))
        return text->intValue();
    return static_cast<std::int32_t>(longLongValue());
}

std::int64_t PropertyListValue::longLongValue() const noexcept {
    return std::visit(
        [](const auto& value) -> std::int64_t {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, double>)
                return integerFromReal<std::int64_t>(value);
            else if constexpr (isNumberType<T>)
                return static_cast<std::int64_t>(value);
            else if constexpr (std::is_same_v<T, NSString>)
                return value.longLongValue();
            else
                return 0;
        },
        storage_);
}

std::uint64_t PropertyListValue::unsignedLongLongValue() const noexcept {
    if (const auto* real = std::get_if<double>(&storage_); real && *real > 0)
        return integerFromReal<std::uint64_t>(*real);
    return static_cast<std::uint64_t>(longLongValue());
}

double PropertyListValue::doubleValue() const noexcept {
    return std::visit(
        [](const auto& value) -> double {
            using T = std::decay_t<decltype(value)>;
            if constexpr (isNumberType<T>)
                return static_cast<double>(value);
            else if constexpr (std::is_same_v<T, NSString>)
                return value.doubleValue();
            else
                return 0;
        },
        storage_);
}

bool PropertyListValue::boolValue() const noexcept {
    return std::visit(
        [](const auto& value) -> bool {
            using T = std::decay_t<decltype(value)>;
            if constexpr (isNumberType<T>)
                return value != T{};
            else if constexpr (std::is_same_v<T, NSString>)
                return value.boolValue();
            else
                return false;
        },
        storage_);
}

bool operator==(const PropertyListValue& a, const PropertyListValue& b) {
    return std::visit(
        [](const auto& left, const auto& right) -> bool {
            using A = std::decay_t<decltype(left)>;
            using B = std::decay_t<decltype(right)>;
            if constexpr (isNumberType<A> && isNumberType<B>)
                return numbersAreEqual(left, right);
            else if constexpr (std::is_same_v<A, B>)
                return left == right;
            else
                return false;
        },
        a.storage_, b.storage_);
}

std::size_t PropertyListValue::hash() const noexcept {
    return std::visit(
        [](const auto& value) -> std::size_t {
            using T = std::decay_t<decltype(value)>;
            if constexpr (isNumberType<T>) {
                return hashOfNumber(value);
            } else if constexpr (std::is_same_v<T, NSString>) {
                return std::hash<NSString>()(value);
            } else if constexpr (std::is_same_v<T, NSData>) {
                const std::span<const std::byte> bytes = value.bytes();
                return std::hash<std::string_view>()(
                    {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
            } else if constexpr (std::is_same_v<T, NSDate>) {
                return std::hash<double>()(value.secondsSinceReferenceDate);
            } else if constexpr (std::is_same_v<T, PropertyListUID>) {
                return std::hash<std::uint64_t>()(value.value);
            } else if constexpr (std::is_same_v<T, NSArray>) {
                std::size_t seed = value.count();
                for (const PropertyListValue& member : value)
                    seed = combine(seed, member.hash());
                return seed;
            } else if constexpr (std::is_same_v<T, NSDictionary>) {
                // A sum, because the order of the entries does not count.
                std::size_t sum = value.count();
                for (const auto& [key, member] : value)
                    sum += combine(std::hash<NSString>()(key), member.hash());
                return sum;
            } else {
                return 0;
            }
        },
        storage_);
}

}  // namespace TWQuickTime
