// Any value that a property list can hold, as one immutable value type; arrays and dictionaries
// among them copy on write.
//
// Kinds are kept apart (an integer is not a real, a bool is neither), but numbers compare by value
// across kinds, as the platform's number objects do; a string never equals a number.
//
//     PropertyListValue v = dictionary.objectForKey("SettingID");
//     if (v.isString()) use(v.stringValue());
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

#include "NSData.h"
#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class PropertyListValue;

/// Seconds since 2001-01-01 00:00:00 UTC.
struct NSDate {
    double secondsSinceReferenceDate = 0;
    friend bool operator==(const NSDate&, const NSDate&) = default;
};

/// A reference inside a keyed archive ("UID" of binary property lists).
struct PropertyListUID {
    std::uint64_t value = 0;
    friend bool operator==(const PropertyListUID&, const PropertyListUID&) = default;
};

/// Ordered values; nil is different from empty.
class TWQT_EXPORT NSArray {
  public:
    NSArray() noexcept = default;
    NSArray(std::nullptr_t) noexcept {}
    explicit NSArray(std::vector<PropertyListValue> values);
    static NSArray array();

    bool isNil() const noexcept { return values_ == nullptr; }
    explicit operator bool() const noexcept { return values_ != nullptr; }
    std::size_t count() const noexcept;
    /// Beyond the end: raises NSRangeException, as the platform does.
    const PropertyListValue& objectAtIndex(std::size_t index) const;
    /// Makes a nil array an empty one first.
    void addObject(PropertyListValue value);
    const PropertyListValue* begin() const noexcept;
    const PropertyListValue* end() const noexcept;
    /// What "%@" prints for it: the old property-list text, one value a line; nil gives nil.
    NSString description() const;
    friend TWQT_EXPORT bool operator==(const NSArray& a, const NSArray& b);

  private:
    // Shared by the copies until one of them is changed.
    std::shared_ptr<std::vector<PropertyListValue>> values_;
};

/// Values by string key, in the order in which the keys were first set; nil differs from empty.
/// Look-up is constant time, also with many keys.
class TWQT_EXPORT NSDictionary {
  public:
    using Entry = std::pair<NSString, PropertyListValue>;

    NSDictionary() noexcept = default;
    NSDictionary(std::nullptr_t) noexcept {}
    NSDictionary(std::initializer_list<Entry> entries);
    static NSDictionary dictionary();
    /// All at once; a later entry with an equal key replaces an earlier one, null values are left
    /// out.
    static NSDictionary dictionaryWithEntries(std::vector<Entry> entries);
    /// Nil for a missing or unparsable file, or one whose root is not a dictionary. XML and binary.
    static NSDictionary dictionaryWithContentsOfFile(const NSString& path);

    bool isNil() const noexcept { return rep_ == nullptr; }
    explicit operator bool() const noexcept { return rep_ != nullptr; }
    std::size_t count() const noexcept;
    /// Writes XML; false for nil, for a value that no property list can hold, and when the file
    /// could not be written whole.       (writeToFile:atomically:)
    bool writeToFile(const NSString& path, bool atomically) const;
    /// The null value when there is none.
    const PropertyListValue& objectForKey(const NSString& key) const noexcept;
    bool hasKey(const NSString& key) const noexcept;
    /// Makes a nil dictionary an empty one first. A null value removes the key.
    void setObject(PropertyListValue value, const NSString& forKey);
    void removeObjectForKey(const NSString& key);
    NSArray allKeys() const;
    const Entry* begin() const noexcept;
    const Entry* end() const noexcept;
    /// What "%@" prints for it: the old property-list text, one entry a line; nil gives nil.
    NSString description() const;
    /// Equal keys and values, in any order.
    friend TWQT_EXPORT bool operator==(const NSDictionary& a, const NSDictionary& b);

  private:
    struct Rep;
    Rep& uniqueRep();
    std::shared_ptr<Rep> rep_;
};

class TWQT_EXPORT PropertyListValue {
  public:
    enum class Kind { null, boolean, integer, real, string, data, date, uid, array, dictionary };

    /// The null value ("none").
    PropertyListValue() noexcept = default;
    PropertyListValue(std::nullptr_t) noexcept {}
    PropertyListValue(bool value) : storage_(value) {}
    PropertyListValue(std::int32_t value) : storage_(std::int64_t{value}) {}
    PropertyListValue(std::uint32_t value) : storage_(std::int64_t{value}) {}
    PropertyListValue(std::int64_t value) : storage_(value) {}
    /// Values above the signed range stay unsigned; both are of the kind integer.
    PropertyListValue(std::uint64_t value);
    PropertyListValue(double value) : storage_(value) {}
    PropertyListValue(const char* utf8);
    /// A nil string, data, array or dictionary gives the null value.
    PropertyListValue(NSString value);
    PropertyListValue(NSData value);
    PropertyListValue(NSDate value) : storage_(value) {}
    PropertyListValue(PropertyListUID value) : storage_(value) {}
    PropertyListValue(NSArray value);
    PropertyListValue(NSDictionary value);

    Kind kind() const noexcept;
    bool isNull() const noexcept { return kind() == Kind::null; }
    explicit operator bool() const noexcept { return !isNull(); }
    bool isString() const noexcept { return kind() == Kind::string; }
    /// Bool, integer or real.
    bool isNumber() const noexcept;

    /// The value as its own kind; nil (or 0) when it is of another kind.
    NSString stringValue() const noexcept;
    NSData dataValue() const noexcept;
    NSArray arrayValue() const noexcept;
    NSDictionary dictionaryValue() const noexcept;
    NSDate dateValue() const noexcept;
    PropertyListUID uidValue() const noexcept;

    /// Numbers converted as the platform's number objects do: integers keep their low bits, reals
    /// are cut toward zero and limited to the range. Strings are read by their leading number.
    std::int32_t intValue() const noexcept;
    std::int64_t longLongValue() const noexcept;
    std::uint64_t unsignedLongLongValue() const noexcept;
    double doubleValue() const noexcept;
    bool boolValue() const noexcept;

    /// What "%@" prints for it; nil for the null value.
    NSString description() const;

    friend TWQT_EXPORT bool operator==(const PropertyListValue& a, const PropertyListValue& b);
    /// Equal values have equal hashes, across number kinds too.
    std::size_t hash() const noexcept;

  private:
    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, NSString, NSData,
                 NSDate, PropertyListUID, NSArray, NSDictionary>
        storage_;
};

}  // namespace TWQuickTime

template <>
struct std::hash<TWQuickTime::PropertyListValue> {
    std::size_t operator()(const TWQuickTime::PropertyListValue& v) const noexcept {
        return v.hash();
    }
};
