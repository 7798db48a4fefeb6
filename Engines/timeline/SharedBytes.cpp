#include "Engines/timeline/SharedBytes.h"

#include <algorithm>
#include <cstring>

namespace TWQuickTime::timeline {

SharedBytes SharedBytes::copyOf(std::span<const std::byte> bytes) {
    return adopt(std::vector<std::byte>(bytes.begin(), bytes.end()));
}

SharedBytes SharedBytes::adopt(std::vector<std::byte> bytes) {
    auto owner = std::make_shared<const std::vector<std::byte>>(std::move(bytes));
    return SharedBytes(*owner, owner);
}

SharedBytes SharedBytes::part(std::size_t offset, std::size_t size) const {
    offset = std::min(offset, bytes_.size());
    return SharedBytes(bytes_.subspan(offset, std::min(size, bytes_.size() - offset)), owner_);
}

bool SharedBytes::sameBytes(std::span<const std::byte> a, std::span<const std::byte> b) {
    return a.size() == b.size() &&
           (a.data() == b.data() || a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

}  // namespace TWQuickTime::timeline
