#include "NSObject.h"

#include <cxxabi.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <typeinfo>

#include "FormatString.h"
#include "NSException.h"

namespace TWQuickTime {
namespace {

/// Of "TWQuickTime::TWQECS" the part behind the namespaces.
std::string withoutNamespaces(std::string name) {
    const std::string_view outer = std::string_view(name).substr(0, name.find('<'));
    const std::size_t colons = outer.rfind("::");
    return colons == std::string_view::npos ? name : name.substr(colons + 2);
}

NSString textOfAddress(const void* address) {
    return formatString("0x%lx", reinterpret_cast<std::uintptr_t>(address));
}

}  // namespace

KeyValueTable::KeyValueTable(const KeyValueTable* base, std::initializer_list<Entry> entries)
    : base_(base) {
    for (const Entry& entry : entries)
        getters_.insert_or_assign(entry.key, entry.getter);
}

const KeyValueTable::Getter* KeyValueTable::getterForKey(const NSString& key) const {
    if (key.isNil())
        return nullptr;
    const auto found = getters_.find(key);
    if (found != getters_.end())
        return &found->second;
    return base_ ? base_->getterForKey(key) : nullptr;
}

NSObject::~NSObject() = default;

NSString NSObject::className() const {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeid(*this).name(), nullptr, nullptr, &status), std::free);
    return NSString(withoutNamespaces(name ? name.get() : typeid(*this).name()));
}

NSString NSObject::description() const {
    return formatString("<%@: %@>", className(), textOfAddress(this));
}

PropertyListValue NSObject::valueForKey(const NSString& key) const {
    if (const KeyValueTable::Getter* getter = keyValueTable().getterForKey(key))
        return (*getter)(*this);
    return valueForUndefinedKey(key);
}

PropertyListValue NSObject::valueForUndefinedKey(const NSString& key) const {
    throw NSException(NSUndefinedKeyException,
                      formatString("[<%@ %@> valueForUndefinedKey:]: this class is not key value "
                                   "coding-compliant for the key %@.",
                                   className(), textOfAddress(this), key));
}

const KeyValueTable& NSObject::keyValueTable() const {
    static const KeyValueTable noKeys{};
    return noKeys;
}

}  // namespace TWQuickTime
