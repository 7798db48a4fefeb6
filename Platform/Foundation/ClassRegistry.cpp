#include "ClassRegistry.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace TWQuickTime::ClassRegistryStorage {
namespace {

struct Storage {
    std::mutex mutex;
    // Families by the name of their type, which is the same in the library and in every host.
    std::map<std::pair<std::string_view, std::string>, ErasedFactory> factories;
};

/// Made by the first class that enters itself, whichever file is initialised first.
Storage& storage() {
    static Storage& theStorage = *new Storage;
    return theStorage;
}

}  // namespace

bool add(const std::type_info& family, const NSString& name, ErasedFactory factory) {
    if (name.isNil() || !factory)
        return false;
    std::lock_guard lock(storage().mutex);
    return storage().factories.try_emplace({family.name(), name.utf8()}, factory).second;
}

ErasedFactory find(const std::type_info& family, const NSString& name) {
    std::lock_guard lock(storage().mutex);
    const auto found = storage().factories.find({family.name(), name.utf8()});
    return name.isNil() || found == storage().factories.end() ? nullptr : found->second;
}

}  // namespace TWQuickTime::ClassRegistryStorage
