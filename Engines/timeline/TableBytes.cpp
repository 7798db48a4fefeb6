#include "Engines/timeline/TableBytes.h"

namespace TWQuickTime::timeline {

std::vector<std::byte>& TableBytes::own() {
    // The view holds the block as well: two owners are this table alone.
    if (!own_ || own_.use_count() > 2)
        own_ = std::make_shared<std::vector<std::byte>>(view_.span().begin(), view_.span().end());
    return *own_;
}

namespace {

template <class Value>
void put(std::byte* at, Value value) {
    for (std::size_t i = 0; i < sizeof value; ++i)
        at[i] = static_cast<std::byte>(value >> (8 * (sizeof value - 1 - i)));
}

}  // namespace

void TableBytes::appendU32(std::uint32_t value) {
    auto& bytes = own();
    bytes.resize(bytes.size() + sizeof value);
    put(bytes.data() + bytes.size() - sizeof value, value);
    refresh();
}

void TableBytes::appendU64(std::uint64_t value) {
    auto& bytes = own();
    bytes.resize(bytes.size() + sizeof value);
    put(bytes.data() + bytes.size() - sizeof value, value);
    refresh();
}

void TableBytes::appendByte(std::uint8_t value) {
    own().push_back(static_cast<std::byte>(value));
    refresh();
}

void TableBytes::setU32(std::size_t offset, std::uint32_t value) {
    put(own().data() + offset, value);
    refresh();
}

void TableBytes::setU64(std::size_t offset, std::uint64_t value) {
    put(own().data() + offset, value);
    refresh();
}

void TableBytes::truncate(std::size_t sizeInBytes) {
    own().resize(sizeInBytes);
    refresh();
}

}  // namespace TWQuickTime::timeline
