// What the volume and directory numbers of file records stand for.
//
// A directory gets its numbers when the process first meets it: the volume number comes from the
// device, the directory number from the inode, changed where two directories would share them. What
// a directory is, is judged by device, inode and time of birth; so a record follows a renamed
// directory once the new path was met, and is never taken for one of a new directory that has an
// old one's inode or path. May be used on any thread.
#pragma once

#include <string>

#include "FSSpec.h"
#include "FileReferences.h"
#include "NSString.h"

namespace TWQuickTime {

/// Fills the record of a file. The folder must exist; a file that does not gives fnfErr and a
/// filled record all the same, so that it can be created with it.
OSErr makeFileRecord(const NSString& path, FSSpec* spec);

/// The absolute path of the file, whether it exists or not; nil when the record was not made here
/// or its directory is gone.
NSString fileRecordPath(const FSSpec& spec);

/// The status for a system's error number.
OSErr statusForSystemError(int systemError);

}  // namespace TWQuickTime
