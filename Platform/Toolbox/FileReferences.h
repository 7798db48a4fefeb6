// File references of the older file manager: from a path to an FSRef, from there to an FSSpec.
//
// Both are plain values that name a file by volume, directory and name. They belong to this
// process: another one cannot resolve them unless it has met the same directory.
//
//     FSRef ref;
//     FSSpec spec;
//     OSErr status = FSPathMakeRef(path, &ref, nullptr);
//     if (status == noErr)
//         status = FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr);
//
// Statuses: fnfErr (no such file or folder on the way), permErr, bdNamErr (a name that is too
// long), paramErr (null places, a record that was not made here). May be called on any thread.
#pragma once

#include <cstdint>

#include "FSSpec.h"
#include "NSString.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class NSURL;

constexpr OSErr bdNamErr = -37;

/// Opaque; only copies and zeros make sense.
struct FSRef {
    std::uint8_t hidden[80] = {};
    friend bool operator==(const FSRef&, const FSRef&) = default;
};

using FSCatalogInfoBitmap = std::uint32_t;
constexpr FSCatalogInfoBitmap kFSCatInfoNone = 0;
/// Details of a file; none are offered here.
struct FSCatalogInfo;

/// Follows symbolic links, the last one included.
/// @param path         UTF-8; a relative one starts at the current folder
/// @param isDirectory  may be null
TWQT_EXPORT OSErr FSPathMakeRef(const char* path, FSRef* ref, Boolean* isDirectory);
/// The absolute path of an existing file; nil when the reference or the file is none.
TWQT_EXPORT NSString FSRefMakePath(const FSRef* ref);
/// @param whichInfo, catalogInfo  kFSCatInfoNone and null; anything else gives paramErr
/// @param name       set to the whole file name; may be null
/// @param spec       filled with the file's record; may be null
/// @param parentRef  filled with the folder's reference; may be null
TWQT_EXPORT OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo,
                                   FSCatalogInfo* catalogInfo, NSString* name, FSSpec* spec,
                                   FSRef* parentRef);
/// fnfErr when the file is not there any more.
TWQT_EXPORT OSErr FSpMakeFSRef(const FSSpec* spec, FSRef* ref);
/// False for what is no file URL and for files that do not exist.
TWQT_EXPORT Boolean CFURLGetFSRef(const NSURL& url, FSRef* ref);

}  // namespace TWQuickTime
