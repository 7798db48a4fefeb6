// Bytes as a value: immutable, cheap to copy, possibly nil.
//
//     NSData settings = NSData::dataWithContentsOfFile(path);
//     if (settings) parse(settings.bytes());
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSData {
  public:
    /// Nil.
    NSData() noexcept = default;
    NSData(std::nullptr_t) noexcept {}
    /// Takes the bytes over.
    explicit NSData(std::vector<std::byte> bytes);
    /// Copies the bytes.
    static NSData dataWithBytes(const void* bytes, std::size_t lengthInBytes);
    /// Nil when the path names no regular file or it cannot be read. (dataWithContentsOfFile:)
    static NSData dataWithContentsOfFile(const NSString& path);

    bool isNil() const noexcept { return bytes_ == nullptr; }
    explicit operator bool() const noexcept { return bytes_ != nullptr; }
    /// Bytes; 0 for nil.
    std::size_t length() const noexcept { return bytes_ ? bytes_->size() : 0; }
    std::span<const std::byte> bytes() const noexcept;
    /// Copies all bytes to a place that must hold length() of them.       (getBytes:)
    void getBytes(void* destination) const noexcept;
    /// False when the file could not be written whole or the data is nil. (writeToFile:atomically:)
    /// @param atomically  write a sibling first and rename it over the path
    bool writeToFile(const NSString& path, bool atomically) const;
    /// What "%@" prints for it: the bytes in hexadecimal groups of four, "<01020304 05>".
    NSString description() const;

    friend TWQT_EXPORT bool operator==(const NSData& a, const NSData& b) noexcept;

  private:
    std::shared_ptr<const std::vector<std::byte>> bytes_;
};

}  // namespace TWQuickTime
