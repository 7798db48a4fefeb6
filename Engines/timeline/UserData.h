// User data: an ordered list of typed items that travel with a movie, a track or a media.
//
// Several items of one type are allowed; the order among them is their index. The bytes of an
// item are its meaning's own business; here they are kept as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "Engines/timeline/FourCharCode.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::timeline {

struct UserDataItem {
    FourCharCode type = 0;
    SharedBytes data;
    bool operator==(const UserDataItem&) const = default;
};

class UserData {
  public:
    std::vector<UserDataItem> items;
    /// The file holds more items than are ever read; writing keeps them in front of `items`.
    bool keptUnread = false;

    /// How many items of a type there are.
    std::size_t count(FourCharCode type) const;
    /// The item of a type with an index from 1 among its type; null when there is none.
    const UserDataItem* find(FourCharCode type, std::size_t index = 1) const;
    UserDataItem* find(FourCharCode type, std::size_t index = 1);
    void add(FourCharCode type, SharedBytes data);
    /// Takes an item out; false when there is none.
    bool remove(FourCharCode type, std::size_t index = 1);
    /// The type that follows `type` in order of first appearance; 0 gives the first, and 0 is
    /// returned after the last.
    FourCharCode nextType(FourCharCode type) const;

    bool empty() const { return items.empty(); }
    bool operator==(const UserData&) const = default;
};

}  // namespace TWQuickTime::timeline
