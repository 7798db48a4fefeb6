// What the record of a storage's operations could have left on a disk.
#pragma once

#include <functional>
#include <span>
#include <string>

#include "AtomBytes.h"
#include "Engines/moviefile/MemoryStorage.h"

namespace TWQuickTime::moviefile::test {

/// Calls `check` with every image that a program killed during the operations leaves: all
/// operations up to one, and that one up to any byte (of long writes: some bytes).
void forEachKill(const Bytes& before, std::span<const StorageOperation> operations,
                 const std::function<void(const Bytes&, const std::string& moment)>& check);

/// Calls `check` with the images that a power failure leaves: what was synced, and of the
/// operations after that any selection, in order or reversed, each whole or torn at any byte (of
/// long writes: some bytes).
void forEachPowerFailure(const Bytes& before, std::span<const StorageOperation> operations,
                         const std::function<void(const Bytes&, const std::string& moment)>& check);

}  // namespace TWQuickTime::moviefile::test
