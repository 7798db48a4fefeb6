// The table of all components and open instances, as the component manager's calls use it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Private/ComponentRegistry.h"

namespace TWQuickTime {

struct ComponentRecord {
    ComponentRegistration registration;
    std::uint64_t serial = 0;  ///< grows with every registration
};

using ComponentPointer = std::shared_ptr<ComponentRecord>;

struct ComponentInstanceRecord {
    ComponentPointer component;
    std::unique_ptr<ComponentStorage> storage;
};

/// Null for what is no registered component.
ComponentPointer findComponentRecord(Component component);
/// The first match behind a component (null: of all); null when there is none.
ComponentPointer findMatchingComponent(Component after, const ComponentDescription& wanted);
std::size_t countMatchingComponents(const ComponentDescription& wanted);
/// Null when the component cannot be opened.
ComponentInstance openInstance(const ComponentPointer& component);
ComponentResult closeInstance(ComponentInstance instance);

}  // namespace TWQuickTime
