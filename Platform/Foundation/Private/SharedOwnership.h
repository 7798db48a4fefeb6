// Who owns a shared object: whether it is the same one, and whether it has no other owner.
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

/// Whether two references, living or not, are to the same object.
inline bool isSameObject(const std::weak_ptr<void>& a, const std::weak_ptr<void>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

}  // namespace TWQuickTime
