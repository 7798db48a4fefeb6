// Classes that are found by name at run time, so that nobody who makes their objects depends on
// them. A class enters itself from its own source file, when the library (or the host's own
// code) is loaded; the kind of factory keeps unrelated families apart.
//
//     using PresetFactory = std::shared_ptr<TWQECS>(NSDictionary, std::shared_ptr<TWQECSReader>);
//     const bool registered = ClassRegistry<PresetFactory>::add("TWQECSSetting", makeSetting);
//     …
//     if (auto make = ClassRegistry<PresetFactory>::classNamed("TWQECSSetting")) make(entry,
//     reader);
#pragma once

#include <typeinfo>

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

namespace ClassRegistryStorage {
using ErasedFactory = void (*)();
/// False when the family has a class of that name already, or the name is nil.
TWQT_EXPORT bool add(const std::type_info& family, const NSString& name, ErasedFactory factory);
TWQT_EXPORT ErasedFactory find(const std::type_info& family, const NSString& name);
}  // namespace ClassRegistryStorage

/// @tparam FactoryFunction  what makes an object, as in std::shared_ptr<TWQECS>(NSDictionary)
template <class FactoryFunction>
class ClassRegistry {
  public:
    /// Any thread. The first class of a name stays; entering another one gives false.
    static bool add(const NSString& name, FactoryFunction* factory) {
        return ClassRegistryStorage::add(typeid(FactoryFunction), name, erase(factory));
    }
    /// Any thread. Null when no class of that name exists.       (NSClassFromString)
    static FactoryFunction* classNamed(const NSString& name) {
        return reinterpret_cast<FactoryFunction*>(
            ClassRegistryStorage::find(typeid(FactoryFunction), name));
    }

  private:
    static ClassRegistryStorage::ErasedFactory erase(FactoryFunction* factory) {
        return reinterpret_cast<ClassRegistryStorage::ErasedFactory>(factory);
    }
};

}  // namespace TWQuickTime
