#include "Private/DelayedPerforms.h"

#include <algorithm>
#include <vector>

#include "Private/Nanoseconds.h"
#include "Private/SharedOwnership.h"

namespace TWQuickTime {

void DelayedPerforms::add(std::int64_t deadline, DelayedPerform perform) {
    if (byDeadline_.size() >= clearingSize_) {
        removeWhere([](const DelayedPerform& old) { return old.target.expired(); });
        clearingSize_ = std::max<std::size_t>(64, byDeadline_.size() * 2);
    }
    byDeadline_.emplace(Key(deadline, nextSequence_++), std::move(perform));
}

std::optional<std::int64_t> DelayedPerforms::earliestDeadline(std::uint64_t modes,
                                                              std::int64_t after) const {
    for (auto entry = byDeadline_.upper_bound(Key(after, ~std::uint64_t{0}));
         entry != byDeadline_.end(); ++entry) {
        if ((entry->second.modes & modes) && !entry->second.target.expired())
            return entry->first.first;
    }
    return std::nullopt;
}

std::optional<DelayedPerform> DelayedPerforms::takeDue(std::uint64_t modes, std::int64_t now,
                                                       std::uint64_t sequenceLimit) {
    for (auto entry = byDeadline_.begin(); entry != byDeadline_.end() && entry->first.first <= now;
         ++entry) {
        if ((entry->second.modes & modes) && entry->first.second < sequenceLimit) {
            std::optional<DelayedPerform> due = std::move(entry->second);
            byDeadline_.erase(entry);
            return due;
        }
    }
    return std::nullopt;
}

template <class Condition>
void DelayedPerforms::removeWhere(Condition condition) {
    // Destroyed at the end: what a method holds may itself cancel performs when it goes.
    std::vector<DelayedPerform> removed;
    for (auto entry = byDeadline_.begin(); entry != byDeadline_.end();) {
        if (condition(entry->second)) {
            removed.push_back(std::move(entry->second));
            entry = byDeadline_.erase(entry);
        } else {
            ++entry;
        }
    }
}

void DelayedPerforms::removeAllOf(const std::weak_ptr<void>& target) {
    removeWhere(
        [&](const DelayedPerform& perform) { return isSameObject(perform.target, target); });
}

void DelayedPerforms::removeAllOf(const std::weak_ptr<void>& target, const NSString& selector) {
    removeWhere([&](const DelayedPerform& perform) {
        return perform.selector == selector && isSameObject(perform.target, target);
    });
}

void DelayedPerforms::shiftDeadlines(std::int64_t nanoseconds) {
    std::map<Key, DelayedPerform> shifted;
    for (auto& [key, perform] : byDeadline_)
        shifted.emplace(Key(sumWithinRange(key.first, nanoseconds), key.second),
                        std::move(perform));
    byDeadline_ = std::move(shifted);
}

}  // namespace TWQuickTime
