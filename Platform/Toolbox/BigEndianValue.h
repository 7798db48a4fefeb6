// A number that lies big-endian in a record, as the toolbox's file records have it; used as if it
// were the number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace TWQuickTime {

template <class Number>
class BigEndianValue {
  public:
    BigEndianValue() = default;
    BigEndianValue(Number value) { *this = value; }

    BigEndianValue& operator=(Number value) {
        auto bits = static_cast<std::make_unsigned_t<Number>>(value);
        for (std::size_t i = sizeof(Number); i-- > 0;
             bits = static_cast<decltype(bits)>(bits >> 4 >> 4))
            bytes_[i] = static_cast<std::uint8_t>(bits);
        return *this;
    }

    operator Number() const {
        std::make_unsigned_t<Number> bits = 0;
        for (std::uint8_t byte : bytes_)
            bits = static_cast<decltype(bits)>(bits << 4 << 4 | byte);
        return static_cast<Number>(bits);
    }

  private:
    std::uint8_t bytes_[sizeof(Number)];
};

}  // namespace TWQuickTime
