// The readers and writers behind PropertyList.h, one per form.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "NSData.h"
#include "PropertyListValue.h"

namespace TWQuickTime {

/// Deepest nesting of containers that is read or written: recursion stays far from any stack's end.
inline constexpr int kMaximumPropertyListDepth = 512;

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
