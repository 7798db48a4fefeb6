// Rendering a file with an exporter whose pictures come from the caller.
#include "MovieExport.h"
#include "NSFileManager.h"
#include "StDataRef.h"
#include "TWLog.h"
#include "UQuickTimeMovie.h"

namespace TWQuickTime {
namespace {

constexpr const char* kSourceFile = "Sources/UQuickTimeMovie";

}  // namespace

OSErr UQuickTimeMovie::RenderMovie(const NSString& inPath, TimeScale inTimeScale,
                                   ComponentInstance inExporter,
                                   MovieExportGetPropertyUPP inGetPropertyProc,
                                   MovieExportGetDataUPP inGetDataProc, void* inRefCon) {
    if (inPath.isNil() || !inExporter || !inGetPropertyProc || !inGetDataProc || !inRefCon)
        return paramErr;
    std::int32_t trackID = 0;
    OSErr status = static_cast<OSErr>(
        MovieExportAddDataSource(inExporter, fourCC("vide"), inTimeScale, &trackID,
                                 inGetPropertyProc, inGetDataProc, inRefCon));
    TWLogError(status, "MovieExportAddDataSource", kSourceFile, __LINE__);
    if (status != noErr)
        return status;
    NSFileManager& files = NSFileManager::defaultManager();
    if (!files.fileExistsAtPath(inPath))
        files.createFileAtPath(inPath, nullptr, nullptr);
    const StDataRef reference(inPath);
    status = static_cast<OSErr>(MovieExportFromProceduresToDataRef(
        inExporter, reference.GetDataRef(), reference.GetType()));
    TWLogError(status, "MovieExportFromProceduresToDataRef", kSourceFile, __LINE__);
    return status;
}

}  // namespace TWQuickTime
