// Copy on write: whether the holder of a shared value may change it in place.
#pragma once

#include <memory>

namespace TWQuickTime {

/// True when no other owner is left. Everything that former owners on other threads did with the
/// value has then happened before: taking and dropping a reference orders this thread behind them,
/// which reading the count alone would not.
template <class T>
bool isOnlyOwner(const std::shared_ptr<T>& owner) {
    if (owner.use_count() != 1)
        return false;
    std::shared_ptr<T>(owner).reset();
    return true;
}

}  // namespace TWQuickTime
