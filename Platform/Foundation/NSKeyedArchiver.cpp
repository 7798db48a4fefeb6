#include "NSKeyedArchiver.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Private/KeyedArchiveFormat.h"
#include "Private/PropertyListFormats.h"
#include "PropertyList.h"

namespace TWQuickTime {
namespace {

using namespace keyedarchive;
using Kind = PropertyListValue::Kind;
using Reference = PropertyListUID;

/// Fills the flat list of objects. Equal strings, numbers and classes are stored once.
class ObjectList {
  public:
    ObjectList() { objects_.emplace_back(kNothing); }

    std::optional<Reference> add(const PropertyListValue& value, int depth) {
        switch (value.kind()) {
            case Kind::null:
                return addPlaced([&] { return NSDictionary{{kClassKey, addClass("NSNull")}}; });
            case Kind::boolean:
            case Kind::integer:
            case Kind::real:
            case Kind::string:
            case Kind::data:
                return addScalar(value);
            case Kind::date:
                return addDate(value.dateValue());
            case Kind::array:
                return addArray(value.arrayValue(), depth);
            case Kind::dictionary:
                return addDictionary(value.dictionaryValue(), depth);
            case Kind::uid:
                return std::nullopt;
        }
        return std::nullopt;
    }

    NSArray take() { return NSArray(std::move(objects_)); }

  private:
    Reference nextReference() const { return {objects_.size()}; }

    Reference addScalar(const PropertyListValue& value) {
        // Told apart by their encoded bytes, as 1, 1.0 and true are equal values.
        const NSData bytes = writeBinaryPropertyList(value);
        const auto [entry, isNew] = scalars_.emplace(
            std::string(reinterpret_cast<const char*>(bytes.bytes().data()), bytes.length()),
            nextReference());
        if (isNew)
            objects_.push_back(value);
        return entry->second;
    }

    /// An object stands in front of what it refers to.
    template <class MakeObject>
    std::optional<Reference> addPlaced(MakeObject makeObject) {
        const Reference own = nextReference();
        objects_.emplace_back();
        NSDictionary object = makeObject();
        if (object.isNil())
            return std::nullopt;
        objects_[own.value] = std::move(object);
        return own;
    }

    std::optional<Reference> addDate(NSDate date) {
        if (!std::isfinite(date.secondsSinceReferenceDate))
            return std::nullopt;
        return addPlaced([&] {
            return NSDictionary{{kTimeKey, date.secondsSinceReferenceDate},
                                {kClassKey, addClass("NSDate")}};
        });
    }

    std::optional<Reference> addArray(const NSArray& array, int depth) {
        if (depth >= kMaximumPropertyListDepth)
            return std::nullopt;
        return addPlaced([&]() -> NSDictionary {
            NSArray elements = NSArray::array();
            for (const PropertyListValue& element : array) {
                const std::optional<Reference> reference = add(element, depth + 1);
                if (!reference)
                    return nullptr;
                elements.addObject(*reference);
            }
            return NSDictionary{{kElementsKey, elements}, {kClassKey, addClass("NSArray")}};
        });
    }

    std::optional<Reference> addDictionary(const NSDictionary& dictionary, int depth) {
        if (depth >= kMaximumPropertyListDepth)
            return std::nullopt;
        return addPlaced([&]() -> NSDictionary {
            NSArray keys = NSArray::array();
            NSArray elements = NSArray::array();
            for (const NSDictionary::Entry& entry : dictionary)
                keys.addObject(addScalar(entry.first));
            for (const NSDictionary::Entry& entry : dictionary) {
                const std::optional<Reference> reference = add(entry.second, depth + 1);
                if (!reference)
                    return nullptr;
                elements.addObject(*reference);
            }
            return NSDictionary{
                {kKeysKey, keys}, {kElementsKey, elements}, {kClassKey, addClass("NSDictionary")}};
        });
    }

    Reference addClass(const char* name) {
        const auto [entry, isNew] = classes_.emplace(name, nextReference());
        if (isNew)
            objects_.emplace_back(NSDictionary{
                {kClassNameKey, name},
                {kClassesKey, NSArray({PropertyListValue(name), PropertyListValue("NSObject")})}});
        return entry->second;
    }

    std::vector<PropertyListValue> objects_;
    std::unordered_map<std::string, Reference> scalars_;
    std::unordered_map<std::string, Reference> classes_;
};

}  // namespace

NSData NSKeyedArchiver::archivedDataWithRootObject(const PropertyListValue& rootObject) {
    ObjectList objects;
    const std::optional<Reference> root =
        rootObject.isNull() ? Reference{0} : objects.add(rootObject, 0);
    if (!root)
        return nullptr;
    return writeBinaryPropertyList(NSDictionary{{kVersionKey, kVersion},
                                                {kArchiverKey, kArchiverName},
                                                {kTopKey, NSDictionary{{kRootKey, *root}}},
                                                {kObjectsKey, objects.take()}});
}

}  // namespace TWQuickTime
