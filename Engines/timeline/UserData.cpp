#include "Engines/timeline/UserData.h"

#include <algorithm>
#include <utility>

namespace TWQuickTime::timeline {

std::size_t UserData::count(FourCharCode type) const {
    return static_cast<std::size_t>(
        std::count_if(items.begin(), items.end(),
                      [type](const UserDataItem& item) { return item.type == type; }));
}

const UserDataItem* UserData::find(FourCharCode type, std::size_t index) const {
    if (index == 0)
        return nullptr;
    for (const UserDataItem& item : items) {
        if (item.type == type && --index == 0)
            return &item;
    }
    return nullptr;
}

UserDataItem* UserData::find(FourCharCode type, std::size_t index) {
    return const_cast<UserDataItem*>(std::as_const(*this).find(type, index));
}

void UserData::add(FourCharCode type, SharedBytes data) {
    items.push_back({type, std::move(data)});
}

bool UserData::remove(FourCharCode type, std::size_t index) {
    const UserDataItem* item = find(type, index);
    if (!item)
        return false;
    items.erase(items.begin() + (item - items.data()));
    return true;
}

FourCharCode UserData::nextType(FourCharCode type) const {
    std::size_t position = 0;
    if (type != 0) {
        while (position < items.size() && items[position].type != type)
            ++position;
        ++position;
    }
    for (; position < items.size(); ++position) {
        const FourCharCode candidate = items[position].type;
        const bool seenBefore =
            std::any_of(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(position),
                        [candidate](const UserDataItem& item) { return item.type == candidate; });
        if (!seenBefore)
            return candidate;
    }
    return 0;
}

}  // namespace TWQuickTime::timeline
