// The table of all components and open instances, as the component manager's calls use it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "Private/ComponentRegistry.h"

namespace TWQuickTime {

struct ComponentRecord {
    ComponentRecord(ComponentRegistration what, std::uint64_t number)
        : registration(std::move(what)), serial(number) {}

    /// Any thread.
    bool isInstalled() const;

    const ComponentRegistration registration;
    const std::uint64_t serial;  ///< grows with every registration

  private:
    mutable std::once_flag asked_;
    mutable bool isInstalled_ = true;
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
