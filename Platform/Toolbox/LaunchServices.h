// Content types of files, told from what is inside them.
//
// A type is a dotted name in a tree of types: "com.apple.quicktime-movie" is a kind of
// "public.movie". A file's name has no part in it.
//
//     NSDictionary values;
//     LSCopyItemAttributes(&ref, kLSRolesViewer, names, &values);
//     UTTypeConformsTo(values.objectForKey(kLSItemContentType).stringValue(), kUTTypeMovie);
#pragma once

#include "FileReferences.h"
#include "PropertyListValue.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

using LSRolesMask = std::uint32_t;
inline constexpr LSRolesMask kLSRolesViewer = 2;

/// Name of the attribute that is the content type.
inline constexpr const char* kLSItemContentType = "LSItemContentType";
/// Movies with pictures; sound alone is no movie.
inline constexpr const char* kUTTypeMovie = "public.movie";

/// Looks up attributes of a file.
/// @param attributeNames  texts; only kLSItemContentType has a value
/// @param attributeValues  set to the values by name; attributes without a value are left out
/// @return fnfErr for a file that is not there, the reading's status when it cannot be read
TWQT_EXPORT OSStatus LSCopyItemAttributes(const FSRef* item, LSRolesMask rolesMask,
                                          const NSArray& attributeNames,
                                          NSDictionary* attributeValues);

/// Whether a type is the other or a kind of it; false for nil.
TWQT_EXPORT bool UTTypeConformsTo(const NSString& type, const NSString& conformsTo);

}  // namespace TWQuickTime
