// From data references back to paths, and the bytes of alias records.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "NSString.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// The absolute path that an 'alis' or 'url ' reference names; nil when it names none.
NSString dataReferencePath(Handle dataRef, OSType dataRefType);

/// A classic alias record (version 2): fixed fields of 150 bytes with volume and file name, then
/// tagged items, each {tag u16, length u16, bytes, filled to an even count}. The path stands in
/// item 18, the volume's mount point in item 19; -1 ends the list.
/// @param absolutePath  UTF-8
std::vector<std::byte> makeAliasRecord(const std::string& absolutePath);
/// The path in an alias record: item 18, or else item 2 (names separated by colons, the volume's
/// first). Empty when the record is damaged or has neither.
std::string aliasRecordPath(std::span<const std::byte> record);

}  // namespace TWQuickTime
