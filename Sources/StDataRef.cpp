#include "StDataRef.h"

#include "DataReferences.h"
#include "FileReferences.h"
#include "Handles.h"
#include "NSURL.h"
#include "TWLog.h"

namespace TWQuickTime {
namespace {

OSErr fillFromRef(OSErr status, const FSRef& ref, FSSpec* spec) {
    if (!spec)
        return paramErr;
    if (status == noErr)
        status = FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, spec, nullptr);
    if (status != noErr)
        *spec = FSSpec();
    return status;
}

}  // namespace

StDataRef::StDataRef(const NSString& path) {
    if (path.isNil())
        return;
    const OSErr status = QTNewDataReferenceFromFullPathCFString(path, kQTNativeDefaultPathStyle, 0,
                                                                &mDataRef, &mType);
    TWLogError(status, "QTNewDataReferenceFromFullPathCFString", "Sources/StDataRef", 57);
}

StDataRef::~StDataRef() {
    if (mDataRef)
        DisposeHandle(mDataRef);
}

OSErr FilePathToFSSpec(const NSString& path, FSSpec* spec) {
    FSRef ref;
    Boolean isDirectory = false;
    const OSErr status = FSPathMakeRef(path.fileSystemRepresentation(), &ref, &isDirectory);
    return fillFromRef(status, ref, spec);
}

OSErr FileURLToFSSpec(const NSURL& url, FSSpec* spec) {
    FSRef ref;
    const OSErr status = CFURLGetFSRef(url, &ref) ? noErr : fnfErr;
    return fillFromRef(status, ref, spec);
}

}  // namespace TWQuickTime

extern "C" TWQuickTime::OSErr FilePathToFSSpec(const TWQuickTime::NSString* path,
                                               TWQuickTime::FSSpec* spec) {
    return TWQuickTime::FilePathToFSSpec(path ? *path : TWQuickTime::NSString(), spec);
}
