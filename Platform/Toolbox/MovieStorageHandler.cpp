#include "Private/MovieStorageHandler.h"

#include "Private/ComponentTable.h"

namespace TWQuickTime {
namespace {

constexpr OSType kDataHandlerType = fourCC("dhlr");
constexpr OSType kAliasSubType = fourCC("alis");

const ComponentProvider provider(ComponentRank::mediaHandlers, [] {
    registerComponent({.description = {.componentType = kDataHandlerType,
                                       .componentSubType = kAliasSubType,
                                       .componentManufacturer = kAppleManufacturer,
                                       .componentFlags = cmpThreadSafe},
                       .name = "Files",
                       .info = "Media data in files",
                       .open = [] { return std::make_unique<MovieStorageHandler>(); }});
});

}  // namespace

DataHandler newStorageHandler(std::shared_ptr<MovieStorage> storage) {
    const auto component = findMatchingComponent(
        nullptr, {.componentType = kDataHandlerType, .componentSubType = kAliasSubType});
    const DataHandler handler = component ? openInstance(component) : nullptr;
    if (auto* handlerStorage = componentStorageAs<MovieStorageHandler>(handler))
        handlerStorage->storage = std::move(storage);
    return handler;
}

}  // namespace TWQuickTime
