#include "FileReferences.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "NSURL.h"
#include "Private/FileRecords.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

/// First bytes of every reference made here; the file's record follows.
constexpr std::uint8_t kMark[4] = {'F', 'S', 'R', 'f'};

void fillRef(const FSSpec& spec, FSRef* ref) {
    *ref = FSRef();
    std::memcpy(ref->hidden, kMark, sizeof kMark);
    std::memcpy(ref->hidden + sizeof kMark, &spec, sizeof spec);
}

bool recordIn(const FSRef* ref, FSSpec& spec) {
    if (!ref || std::memcmp(ref->hidden, kMark, sizeof kMark) != 0)
        return false;
    std::memcpy(static_cast<void*>(&spec), ref->hidden + sizeof kMark, sizeof spec);
    return true;
}

OSErr makeRef(const NSString& path, FSRef* ref, Boolean* isDirectory) {
    FSSpec spec;
    if (const OSErr status = makeFileRecord(path, &spec); status != noErr)
        return status;
    struct stat info;
    if (stat(fileRecordPath(spec).fileSystemRepresentation(), &info) != 0)
        return statusForSystemError(errno);
    if (isDirectory)
        *isDirectory = S_ISDIR(info.st_mode);
    fillRef(spec, ref);
    return noErr;
}

}  // namespace

OSErr FSPathMakeRef(const char* path, FSRef* ref, Boolean* isDirectory) {
    ToolboxCall call("FSPathMakeRef");
    if (isDirectory)
        *isDirectory = false;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!path || !ref)
        return paramErr;
    return makeRef(path, ref, isDirectory);
}

NSString FSRefMakePath(const FSRef* ref) {
    ToolboxCall call("FSRefMakePath");
    FSSpec spec;
    if (call.faulted() || !recordIn(ref, spec))
        return nullptr;
    const NSString path = fileRecordPath(spec);
    struct stat info;
    return path && stat(path.fileSystemRepresentation(), &info) == 0 ? path : NSString();
}

OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       NSString* name, FSSpec* spec, FSRef* parentRef) {
    ToolboxCall call("FSGetCatalogInfo");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    FSSpec record;
    if (whichInfo != kFSCatInfoNone || catalogInfo || !recordIn(ref, record))
        return paramErr;
    const NSString path = fileRecordPath(record);
    struct stat info;
    if (!path)
        return fnfErr;
    if (stat(path.fileSystemRepresentation(), &info) != 0)
        return statusForSystemError(errno);
    if (parentRef) {
        if (const OSErr status =
                makeRef(path.stringByDeletingLastPathComponent(), parentRef, nullptr);
            status != noErr)
            return status;
    }
    if (name)
        *name = path.lastPathComponent();
    if (spec)
        *spec = record;
    return noErr;
}

OSErr FSpMakeFSRef(const FSSpec* spec, FSRef* ref) {
    ToolboxCall call("FSpMakeFSRef");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!spec || !ref)
        return paramErr;
    const NSString path = fileRecordPath(*spec);
    return path ? makeRef(path, ref, nullptr) : fnfErr;
}

Boolean CFURLGetFSRef(const NSURL& url, FSRef* ref) {
    ToolboxCall call("CFURLGetFSRef");
    if (call.faulted() || !ref || !url.isFileURL())
        return false;
    const NSString host = url.host();
    const bool isHere = host.isNil() || host == "" || host.lowercaseString() == "localhost";
    return isHere && makeRef(url.path(), ref, nullptr) == noErr;
}

}  // namespace TWQuickTime
