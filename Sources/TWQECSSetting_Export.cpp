// The export of a movie with a setting, and what its delegate hears of it.
#include "MovieExport.h"
#include "NSError_TWQECSError.h"
#include "NSFileManager.h"
#include "StDataRef.h"
#include "TWLog.h"
#include "TWQECSSetting.h"

namespace TWQuickTime {
namespace {

/// Stopped by the delegate, or no file could be made.
constexpr OSErr kStopped = -1;

bool refuse(NSError* error, std::int32_t code) {
    if (error)
        *error = NSError_TWQECSError::errorWitQECSErrorCode(code);
    return false;
}

}  // namespace

bool TWQECSSetting::exportMovie(Movie movie, const NSString& toFilePath, TimeValue fromStartTime,
                                TimeValue withDuration, NSError* error) {
    TWQECSExportStep step{.used = identifier()};
    setExportRecord({{step}});
    if (!movie) {
        TWLog("Movie not specified...");
        return refuse(error, TWQECSNoMovieError);
    }
    if (toFilePath.isNil()) {
        TWLog("Export path not specified...");
        return refuse(error, TWQECSNoPathError);
    }
    if (withDuration == 0) {
        TWLog("Nothing to export...");
        return refuse(error, TWQECSNoDurationError);
    }
    const ComponentInstance instance = componentInstance();
    if (!instance) {
        TWLog("Export component not installed...");
        return refuse(error, TWQECSNotInstalledError);
    }
    const OSErr status = exportWith(instance, movie, toFilePath, fromStartTime, withDuration);
    step.output = toFilePath;
    step.succeeded = status == noErr;
    setExportRecord({{std::move(step)}});
    if (status != noErr && error) {
        // An error of an earlier export may be handed back here: it is not cleared, on purpose.
        *error = status == kStopped ? exportError()
                                    : NSError::errorWithDomain(TWQECSErrorDomain, status, nullptr);
        return false;
    }
    // Said also of an export that failed when nobody asked for the error, on purpose.
    TWLog("Export done.");
    return status == noErr;
}

OSErr TWQECSSetting::exportWith(ComponentInstance instance, Movie movie, const NSString& toFilePath,
                                TimeValue fromStartTime, TimeValue withDuration) {
    if (!NSFileManager::defaultManager().createFileAtPath(toFilePath, nullptr, nullptr))
        return kStopped;
    FSSpec file;
    FilePathToFSSpec(toFilePath, &file);
    MovieExportSetProgressProc(instance, ExportMovieProgressProc,
                               reinterpret_cast<std::intptr_t>(this));
    // The first place is the destination's, on purpose.
    TWLog("Exporting movie:%@ using QECS:%@...", toFilePath, identifier());
    return static_cast<OSErr>(
        MovieExportToFile(instance, &file, movie, nullptr, fromStartTime, withDuration));
}

OSErr TWQECSSetting::exportCallbackForMovie(Movie movie, std::int16_t message,
                                            std::int16_t whatOperation, float percentDone) {
    const auto delegate = exportDelegate();
    if (!delegate || !delegate->exportCallbackForMovie)
        return noErr;
    NSError error;
    if (delegate->exportCallbackForMovie(movie, message, whatOperation, percentDone, &error))
        return noErr;
    if (!error.isNil())
        setExportError(error);
    return kStopped;
}

OSErr ExportMovieProgressProc(Movie movie, std::int16_t message, std::int16_t whatOperation,
                              Fixed percentDone, std::intptr_t refCon) {
    auto* setting = reinterpret_cast<TWQECSSetting*>(refCon);
    const float fractionDone = static_cast<float>(percentDone) * (1.0f / 65536.0f);
    return setting->exportCallbackForMovie(movie, message, whatOperation, fractionDone);
}

}  // namespace TWQuickTime
