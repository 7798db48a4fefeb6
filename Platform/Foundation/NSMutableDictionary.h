// Shared objects by name, for classes that are no property-list values. Unlike NSDictionary it is
// itself an object, not a value: whoever holds it sees the changes of all others.
//
//     NSMutableDictionary<NSRecursiveLock> locks;
//     locks.setObject(std::make_shared<NSRecursiveLock>(), "QuickTimeLock");
//     if (auto lock = locks.objectForKey("QuickTimeLock")) lock->lock();
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "NSString.h"

namespace TWQuickTime {

/// Every call is atomic and may be made on any thread. A nil key has no entry and takes none.
template <class Object>
class NSMutableDictionary {
  public:
    NSMutableDictionary() = default;
    NSMutableDictionary(const NSMutableDictionary&) = delete;
    NSMutableDictionary& operator=(const NSMutableDictionary&) = delete;

    /// Null when there is none.       (objectForKey:)
    std::shared_ptr<Object> objectForKey(const NSString& key) const {
        std::lock_guard lock(mutex_);
        const auto found = objects_.find(key);
        return found == objects_.end() ? nullptr : found->second;
    }

    /// Replaces an entry of that key. A null object removes it.       (setObject:forKey:)
    void setObject(std::shared_ptr<Object> object, const NSString& forKey) {
        if (!object) {
            removeObjectForKey(forKey);
            return;
        }
        if (forKey.isNil())
            return;
        std::lock_guard lock(mutex_);
        objects_.insert_or_assign(forKey, std::move(object));
    }

    /// Enters the object unless the key has one.
    /// @return the object that the key has now, this or the earlier one; null for a nil key
    std::shared_ptr<Object> setObjectIfAbsent(std::shared_ptr<Object> object,
                                              const NSString& forKey) {
        if (!object || forKey.isNil())
            return objectForKey(forKey);
        std::lock_guard lock(mutex_);
        return objects_.try_emplace(forKey, std::move(object)).first->second;
    }

    /// (removeObjectForKey:)
    void removeObjectForKey(const NSString& key) {
        std::lock_guard lock(mutex_);
        objects_.erase(key);
    }

    std::size_t count() const {
        std::lock_guard lock(mutex_);
        return objects_.size();
    }

  private:
    mutable std::mutex mutex_;
    std::unordered_map<NSString, std::shared_ptr<Object>> objects_;
};

}  // namespace TWQuickTime
