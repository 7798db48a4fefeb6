// Data references: how movies, exporters and importers are pointed at a file.
//
// A reference is a handle and a four-character type that says what its bytes are. References to
// files are of the type 'alis': the classic alias record, with the whole path in it, as it stands
// in movie files too.
//
//     Handle reference = nullptr;
//     OSType type = 0;
//     QTNewDataReferenceFromFullPathCFString(path, kQTNativeDefaultPathStyle, 0, &reference,
//     &type); … DisposeHandle(reference);
#pragma once

#include <cstdint>

#include "NSString.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

constexpr OSType AliasDataHandlerSubType = fourCC("alis");
constexpr OSType URLDataHandlerSubType = fourCC("url ");
constexpr OSType HandleDataHandlerSubType = fourCC("hndl");

/// Path styles: POSIX paths are the native ones, and the only ones here.
using QTPathStyle = std::int32_t;
constexpr QTPathStyle kQTNativeDefaultPathStyle = -1;
constexpr QTPathStyle kQTPOSIXPathStyle = 0;

/// The file need not exist. A relative path starts at the current folder.
/// @param flags  0
/// @param dataRef, dataRefType  set to the new reference, disposed of by the caller; 0 on failure
/// @return paramErr for a nil or empty path, another path style and null places
TWQT_EXPORT OSErr QTNewDataReferenceFromFullPathCFString(const NSString& filePath,
                                                         QTPathStyle pathStyle, std::uint32_t flags,
                                                         Handle* dataRef, OSType* dataRefType);
/// The path of the file that an 'alis' or 'url ' reference names.
/// @param filePath  set to nil on failure
TWQT_EXPORT OSErr QTGetDataReferenceFullPathCFString(Handle dataRef, OSType dataRefType,
                                                     QTPathStyle pathStyle, NSString* filePath);

}  // namespace TWQuickTime
