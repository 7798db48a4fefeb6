// The data handler of an open movie storage.
#pragma once

#include <memory>

#include "Private/ComponentRegistry.h"
#include "Private/MovieFileStorage.h"

namespace TWQuickTime {

class MovieStorageHandler final : public ComponentStorage {
  public:
    std::shared_ptr<MovieStorage> storage;
};

/// The storage of a data handler; null for what is no open data handler of a movie storage.
inline std::shared_ptr<MovieStorage> storageOfHandler(DataHandler handler) {
    auto* handlerStorage = componentStorageAs<MovieStorageHandler>(handler);
    return handlerStorage ? handlerStorage->storage : nullptr;
}

/// An open data handler for the storage; null when none can be opened.
DataHandler newStorageHandler(std::shared_ptr<MovieStorage> storage);

}  // namespace TWQuickTime
