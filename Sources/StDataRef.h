// Files as the toolbox wants them named: a data reference for the length of a scope, and the
// 70-byte file record.
//
//     StDataRef file(path);
//     if (!file.GetDataRef())
//         return;                                   // the failure was logged
//     NewMovieFromDataRef(&movie, newMovieActive, nullptr, file, file.GetType());
#pragma once

#include "FSSpec.h"
#include "NSString.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class NSURL;

/// Owns a data reference made from a path.
class TWQT_EXPORT StDataRef {
  public:
    /// @param path  full POSIX path of a file that need not exist. Nil makes no reference and logs
    ///     nothing; a failure is logged and makes none either.
    explicit StDataRef(const NSString& path);
    ~StDataRef();
    StDataRef(const StDataRef&) = delete;
    StDataRef& operator=(const StDataRef&) = delete;

    /// Null when none was made; owned by this object.
    Handle GetDataRef() const { return mDataRef; }
    operator Handle() const { return mDataRef; }
    /// 0 when no reference was made.
    OSType GetType() const { return mType; }
    operator OSType() const { return mType; }

  private:
    Handle mDataRef = nullptr;
    OSType mType = 0;
};

/// The file record of an existing file; all 70 bytes are 0 on failure. Logs nothing.
/// @param path  POSIX path; nil and missing files give fnfErr
/// @param spec  filled on success; null gives paramErr
TWQT_EXPORT OSErr FilePathToFSSpec(const NSString& path, FSSpec* spec);
/// The same for a file URL; fnfErr for any other URL and for files that do not exist.
TWQT_EXPORT OSErr FileURLToFSSpec(const NSURL& url, FSSpec* spec);

}  // namespace TWQuickTime

/// The same function with C linkage, for callers that look it up by its plain name; a null path
/// is nil.
extern "C" TWQT_EXPORT TWQuickTime::OSErr FilePathToFSSpec(const TWQuickTime::NSString* path,
                                                           TWQuickTime::FSSpec* spec);
