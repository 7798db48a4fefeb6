#include "Engines/timeline/TableBytes.h"

#include <algorithm>

namespace TWQuickTime::timeline {
namespace {

template <class Value>
void put(std::byte* at, Value value) {
    for (std::size_t i = 0; i < sizeof value; ++i)
        at[i] = static_cast<std::byte>(value >> (8 * (sizeof value - 1 - i)));
}

}  // namespace

std::byte* TableBytes::own(std::size_t sizeInBytes) {
    if (!own_ || own_.use_count() > 1) {
        own_ =
            std::make_shared<std::vector<std::byte>>(data_, data_ + std::min(size_, sizeInBytes));
        mapped_ = {};
    }
    own_->resize(sizeInBytes);
    data_ = own_->data();
    size_ = sizeInBytes;
    return own_->data();
}

void TableBytes::appendU32(std::uint32_t value) {
    const std::size_t offset = size_;
    put(own(offset + sizeof value) + offset, value);
}

void TableBytes::appendU64(std::uint64_t value) {
    const std::size_t offset = size_;
    put(own(offset + sizeof value) + offset, value);
}

void TableBytes::appendByte(std::uint8_t value) {
    const std::size_t offset = size_;
    put(own(offset + sizeof value) + offset, value);
}

void TableBytes::setU32(std::size_t offset, std::uint32_t value) {
    put(own(size_) + offset, value);
}

void TableBytes::setU64(std::size_t offset, std::uint64_t value) {
    put(own(size_) + offset, value);
}

void TableBytes::truncate(std::size_t sizeInBytes) {
    own(std::min(size_, sizeInBytes));
}

}  // namespace TWQuickTime::timeline
