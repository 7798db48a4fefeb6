// The readers and writers behind PropertyList.h, one per form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "NSData.h"
#include "PropertyListValue.h"

namespace TWQuickTime {

/// Deepest nesting of containers that is read or written: recursion stays far from any stack's end.
inline constexpr int kMaximumPropertyListDepth = 512;

/// A list whose shared containers expand to more values than this is made to exhaust whoever walks
/// it. Without shared containers there are fewer values than bytes.
inline constexpr std::uint64_t mostExpandedPropertyListValues(std::size_t fileSizeInBytes) {
    return fileSizeInBytes + std::uint64_t{65536};
}

/// The one key of a dictionary that stands for a UID where a form has no UIDs.
inline constexpr const char* kPropertyListUIDKey = "CF$UID";

// All readers return null for anything that is not wholly right.
PropertyListValue readXMLPropertyList(std::span<const std::byte> bytes);
PropertyListValue readBinaryPropertyList(std::span<const std::byte> bytes);
/// @param utf8  well-formed
PropertyListValue readOldStylePropertyList(std::string_view utf8);
bool looksLikeBinaryPropertyList(std::span<const std::byte> bytes) noexcept;

// All writers return nil for a value that the form cannot hold.
NSData writeXMLPropertyList(const PropertyListValue& value);
NSData writeBinaryPropertyList(const PropertyListValue& value);

}  // namespace TWQuickTime
