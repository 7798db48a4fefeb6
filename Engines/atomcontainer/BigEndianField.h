// Big-endian numbers in flat bytes; the caller has checked that the bytes are there.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace TWQuickTime::atomcontainer {

template <std::unsigned_integral Number>
Number toBigEndian(Number value) {
    if constexpr (std::endian::native == std::endian::big || sizeof(Number) == 1)
        return value;
    else if constexpr (sizeof(Number) == 2)
        return __builtin_bswap16(value);
    else
        return __builtin_bswap32(value);
}

template <std::unsigned_integral Number>
Number loadField(const std::byte* place) {
    Number value;
    std::memcpy(&value, place, sizeof value);
    return toBigEndian(value);
}

template <std::unsigned_integral Number>
void storeField(std::byte* place, Number value) {
    value = toBigEndian(value);
    std::memcpy(place, &value, sizeof value);
}

}  // namespace TWQuickTime::atomcontainer
