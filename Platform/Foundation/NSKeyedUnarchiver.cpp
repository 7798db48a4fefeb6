#include "NSKeyedUnarchiver.h"

#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "Private/KeyedArchiveFormat.h"
#include "Private/PropertyListFormats.h"
#include "PropertyList.h"

namespace TWQuickTime {
namespace {

using namespace keyedarchive;
using Kind = PropertyListValue::Kind;

enum class ArchivedClass { unknown, dictionary, list, data, string, date, null };

ArchivedClass classNamed(std::string_view name) {
    static constexpr std::pair<std::string_view, ArchivedClass> kClasses[] = {
        {"NSDictionary", ArchivedClass::dictionary},
        {"NSMutableDictionary", ArchivedClass::dictionary},
        {"NSArray", ArchivedClass::list},
        {"NSMutableArray", ArchivedClass::list},
        {"NSSet", ArchivedClass::list},
        {"NSMutableSet", ArchivedClass::list},
        {"NSData", ArchivedClass::data},
        {"NSMutableData", ArchivedClass::data},
        {"NSString", ArchivedClass::string},
        {"NSMutableString", ArchivedClass::string},
        {"NSDate", ArchivedClass::date},
        {"NSNull", ArchivedClass::null}};
    for (const auto& [className, archivedClass] : kClasses)
        if (name == className)
            return archivedClass;
    return ArchivedClass::unknown;
}

/// Decodes every object once, however often it is referred to. Throws nothing; a fault anywhere
/// ends the whole read.
class ObjectReader {
  public:
    ObjectReader(const NSArray& objects, std::uint64_t mostExpandedValues)
        : objects_(objects), mostExpandedValues_(mostExpandedValues), decoded_(objects.count()) {}

    /// False for a fault.
    bool read(PropertyListUID root, PropertyListValue& value) {
        const Decoded* object = decode(root, 0);
        if (object)
            value = object->value;
        return object != nullptr;
    }

  private:
    enum class State : std::uint8_t { unread, beingRead, read };
    struct Decoded {
        PropertyListValue value;
        std::uint64_t expandedValues = 1;
        State state = State::unread;
    };

    const Decoded* decode(PropertyListUID reference, int depth) {
        static const Decoded nothing;
        if (reference.value == 0)
            return &nothing;
        if (reference.value >= decoded_.size() || depth > kMaximumPropertyListDepth)
            return nullptr;
        Decoded& object = decoded_[reference.value];
        if (object.state == State::beingRead)
            return nullptr;
        if (object.state == State::unread) {
            object.state = State::beingRead;
            if (!decodeObject(objects_.objectAtIndex(reference.value), depth, object))
                return nullptr;
            object.state = State::read;
        }
        return &object;
    }

    bool decodeObject(const PropertyListValue& encoded, int depth, Decoded& result) {
        const NSDictionary object = encoded.dictionaryValue();
        if (object.isNil()) {
            result.value = encoded;
            return encoded.kind() != Kind::uid && encoded.kind() != Kind::array;
        }
        switch (classOf(object)) {
            case ArchivedClass::dictionary:
                return decodeDictionary(object, depth, result);
            case ArchivedClass::list:
                return decodeList(object, depth, result);
            case ArchivedClass::data:
                result.value = direct(object, kDataKey).dataValue();
                return !result.value.isNull();
            case ArchivedClass::string:
                result.value = direct(object, kStringKey).stringValue();
                return !result.value.isNull();
            case ArchivedClass::date:
                return decodeDate(object, result);
            case ArchivedClass::null:
                return true;
            case ArchivedClass::unknown:
                return false;
        }
        return false;
    }

    ArchivedClass classOf(const NSDictionary& object) const {
        const NSDictionary description = direct(object, kClassKey).dictionaryValue();
        return classNamed(description.objectForKey(kClassNameKey).stringValue().utf8());
    }

    /// A member that stands in the object itself or is referred to, still encoded.
    PropertyListValue direct(const NSDictionary& object, const char* key) const {
        const PropertyListValue& member = object.objectForKey(key);
        if (member.kind() != Kind::uid)
            return member;
        const std::uint64_t place = member.uidValue().value;
        return place > 0 && place < objects_.count() ? objects_.objectAtIndex(place) : nullptr;
    }

    /// One element of a container, and what it adds to the expanded tree.
    const Decoded* element(const PropertyListValue& reference, int depth, Decoded& parent) {
        if (reference.kind() != Kind::uid)
            return nullptr;
        const Decoded* found = decode(reference.uidValue(), depth + 1);
        if (!found)
            return nullptr;
        parent.expandedValues += found->expandedValues;
        return parent.expandedValues <= mostExpandedValues_ ? found : nullptr;
    }

    bool decodeList(const NSDictionary& object, int depth, Decoded& result) {
        const NSArray references = object.objectForKey(kElementsKey).arrayValue();
        if (references.isNil() || depth >= kMaximumPropertyListDepth)
            return false;
        std::vector<PropertyListValue> values;
        values.reserve(references.count());
        for (const PropertyListValue& reference : references) {
            const Decoded* found = element(reference, depth, result);
            if (!found)
                return false;
            values.push_back(found->value);
        }
        result.value = NSArray(std::move(values));
        return true;
    }

    bool decodeDictionary(const NSDictionary& object, int depth, Decoded& result) {
        const NSArray keys = object.objectForKey(kKeysKey).arrayValue();
        const NSArray references = object.objectForKey(kElementsKey).arrayValue();
        if (keys.isNil() || references.isNil() || keys.count() != references.count() ||
            depth >= kMaximumPropertyListDepth)
            return false;
        std::vector<NSDictionary::Entry> entries;
        entries.reserve(keys.count());
        for (std::size_t i = 0; i < keys.count(); ++i) {
            const Decoded* key = element(keys.objectAtIndex(i), depth, result);
            if (!key || !key->value.isString())
                return false;
            NSString name = key->value.stringValue();
            const Decoded* found = element(references.objectAtIndex(i), depth, result);
            if (!found)
                return false;
            entries.emplace_back(std::move(name), found->value);
        }
        result.value = NSDictionary::dictionaryWithEntries(std::move(entries));
        return true;
    }

    bool decodeDate(const NSDictionary& object, Decoded& result) {
        const PropertyListValue time = direct(object, kTimeKey);
        if (!time.isNumber() || !std::isfinite(time.doubleValue()))
            return false;
        result.value = NSDate{time.doubleValue()};
        return true;
    }

    NSArray objects_;
    std::uint64_t mostExpandedValues_;
    std::vector<Decoded> decoded_;
};

}  // namespace

PropertyListValue NSKeyedUnarchiver::unarchiveObjectWithData(const NSData& data) {
    const NSDictionary archive = propertyListFromData(data).dictionaryValue();
    const NSArray objects = archive.objectForKey(kObjectsKey).arrayValue();
    const PropertyListValue root =
        archive.objectForKey(kTopKey).dictionaryValue().objectForKey(kRootKey);
    if (archive.objectForKey(kVersionKey).longLongValue() != kVersion ||
        archive.objectForKey(kArchiverKey).stringValue() != kArchiverName ||
        root.kind() != Kind::uid)
        return nullptr;
    PropertyListValue value;
    return ObjectReader(objects, mostExpandedPropertyListValues(data.length()))
                   .read(root.uidValue(), value)
               ? value
               : nullptr;
}

}  // namespace TWQuickTime
