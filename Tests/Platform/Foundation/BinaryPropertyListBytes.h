// Binary property lists put together object by object, right ones and wrong ones.
//
//     BinaryPropertyListBytes list;
//     list.object("\xA1\x01"s);  // object 0: an array of object 1
//     list.object("\x09"s);      // object 1: true
//     NSData file = list.file();
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "NSData.h"

namespace TWQuickTime::test {

class BinaryPropertyListBytes {
  public:
    std::size_t offsetSize = 8;
    std::size_t referenceSize = 1;
    std::uint64_t topObject = 0;

    /// Appends an object's bytes and gives it the next number.
    void object(const std::string& bytes) {
        offsets_.push_back(8 + objects_.size());
        objects_ += bytes;
    }
    /// Gives the next number to bytes that another object has already.
    void objectAtOffsetOf(std::size_t number) { offsets_.push_back(offsets_[number]); }
    void objectAtOffset(std::uint64_t offset) { offsets_.push_back(offset); }

    std::string bytes() const {
        std::string file = "bplist00" + objects_;
        const std::uint64_t table = file.size();
        for (const std::uint64_t offset : offsets_)
            file += bigEndian(offset, offsetSize);
        file += std::string(6, '\0');
        file += static_cast<char>(offsetSize);
        file += static_cast<char>(referenceSize);
        return file + bigEndian(offsets_.size(), 8) + bigEndian(topObject, 8) + bigEndian(table, 8);
    }
    NSData file() const {
        const std::string all = bytes();
        return NSData::dataWithBytes(all.data(), all.size());
    }

    static std::string bigEndian(std::uint64_t value, std::size_t size) {
        std::string bytes;
        for (std::size_t i = size; i-- > 0;)
            bytes += i < 8 ? static_cast<char>(value >> (8 * i)) : '\0';
        return bytes;
    }

  private:
    std::string objects_;
    std::vector<std::uint64_t> offsets_;
};

}  // namespace TWQuickTime::test
