// The root of the classes whose objects are shared and held by std::shared_ptr: it gives them a
// description and access to their values by key.
//
// A class that answers to keys lists them once, from key to getter; what the list does not know
// goes to valueForUndefinedKey, which raises unless a class answers there.
//
//     const KeyValueTable& TWQECS::keyValueTable() const {
//         static const KeyValueTable table{{"name", &TWQECS::name}, {"comment", &TWQECS::comment}};
//         return table;
//     }
//     preset->valueForKey("name");
#pragma once

#include <concepts>
#include <functional>
#include <initializer_list>
#include <memory>
#include <unordered_map>

#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class NSObject;

/// The keys of a class and how each is read. Made once a class, never changed.
class TWQT_EXPORT KeyValueTable {
  public:
    using Getter = std::function<PropertyListValue(const NSObject&)>;

    struct Entry {
        template <std::derived_from<NSObject> Class, class Value>
        requires std::convertible_to<Value, PropertyListValue> Entry(const char* forKey,
                                                                     Value (Class::*method)() const)
            : key(forKey), getter([method](const NSObject& object) -> PropertyListValue {
                  return (dynamic_cast<const Class&>(object).*method)();
              }) {}
        Entry(const char* forKey, Getter function) : key(forKey), getter(std::move(function)) {}

        NSString key;
        Getter getter;
    };

    KeyValueTable(std::initializer_list<Entry> entries) : KeyValueTable(nullptr, entries) {}
    /// @param base  keys of the base class, used for those not listed here; must outlive the table
    KeyValueTable(const KeyValueTable* base, std::initializer_list<Entry> entries);

    /// Null for an unknown key.
    const Getter* getterForKey(const NSString& key) const;

  private:
    const KeyValueTable* base_;
    std::unordered_map<NSString, Getter> getters_;
};

class TWQT_EXPORT NSObject : public std::enable_shared_from_this<NSObject> {
  public:
    NSObject() = default;
    virtual ~NSObject();
    NSObject& operator=(const NSObject&) = delete;

    /// Name of the object's own class, without its namespace.
    NSString className() const;
    /// What "%@" prints for the object; by default "<TWQECS: 0x55d0c8a1b2c0>".
    virtual NSString description() const;

    /// The value of a listed key, else the answer of valueForUndefinedKey.       (valueForKey:)
    PropertyListValue valueForKey(const NSString& key) const;
    /// Raises NSUndefinedKeyException; classes override it to answer further keys.
    /// (valueForUndefinedKey:)
    virtual PropertyListValue valueForUndefinedKey(const NSString& key) const;

  protected:
    // A copy is another object. NOLINTNEXTLINE(bugprone-copy-constructor-init)
    NSObject(const NSObject&) noexcept : std::enable_shared_from_this<NSObject>() {}
    virtual const KeyValueTable& keyValueTable() const;
};

}  // namespace TWQuickTime
