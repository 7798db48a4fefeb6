// Where components make themselves known.
//
// A component is registered from its own source file by a provider, which the registry asks once,
// at the first look-up; a provider may register any number of components. What only some machines
// have (codecs of an installed library) is asked when somebody looks for it, because asking may
// load that library. Tests register and take away components of their own at any time.
//
//     const ComponentProvider provider(ComponentRank::mediaHandlers, [] {
//         registerComponent({.description = {.componentType = MediaHandlerType, …},
//                            .name = "Video media", .open = [] { return std::make_unique<…>(); }});
//     });
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Components.h"

namespace TWQuickTime {

/// What an open instance consists of; its destructor closes it.
class TWQT_EXPORT ComponentStorage {
  public:
    ComponentStorage() = default;
    virtual ~ComponentStorage();
    ComponentStorage(const ComponentStorage&) = delete;
    ComponentStorage& operator=(const ComponentStorage&) = delete;

    /// Asked when the instance is closed; its status is what the caller gets, and the instance is
    /// gone whatever it is.
    virtual OSErr close() { return noErr; }
};

struct ComponentRegistration {
    ComponentDescription description;  ///< its flags are the component's; the mask is not used
    std::string name;                  ///< UTF-8; at most 255 bytes are handed out
    std::string info;
    /// Makes an instance; null when the component cannot be opened. Without a function every
    /// opening gives an instance that knows nothing but its description.
    std::function<std::unique_ptr<ComponentStorage>()> open;
    /// Whether this machine has the component; asked once, when it first fits a look-up. Without a
    /// function it has. Must not look for components itself.
    std::function<bool()> isInstalled = {};
};

/// In which order providers are asked, and so components are found.
enum class ComponentRank {
    movieExporters = 100,
    mediaHandlers = 200,
    codecs = 300,
    graphicsImporters = 400,
    sequenceGrabbers = 500
};

class TWQT_EXPORT ComponentProvider {
  public:
    /// For objects of static duration; the function runs once, on the first look-up's thread.
    ComponentProvider(ComponentRank rank, std::function<void()> registerAll);
};

/// Adds a component behind all others.
TWQT_EXPORT Component registerComponent(ComponentRegistration registration);
/// Takes a component away; its open instances stay usable until they are closed.
TWQT_EXPORT void unregisterComponent(Component component);

/// What the instance consists of; null for what is no open instance.
TWQT_EXPORT ComponentStorage* componentStorage(ComponentInstance instance);
/// The instance's storage as the kind that a call needs; null when it is of another kind.
template <class Storage>
Storage* componentStorageAs(ComponentInstance instance) {
    return dynamic_cast<Storage*>(componentStorage(instance));
}
/// The component that the instance was opened from; null for what is no open instance.
TWQT_EXPORT Component componentOfInstance(ComponentInstance instance);

}  // namespace TWQuickTime
