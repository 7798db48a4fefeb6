#include "MDItem.h"

#include <sys/stat.h>

#include "DataReferences.h"
#include "Handles.h"
#include "Movies.h"

namespace TWQuickTime {
namespace {

/// None for what cannot be opened as a movie or sound.
std::optional<double> durationInSeconds(const NSString& path) {
    Handle reference = nullptr;
    OSType type = 0;
    Movie movie = nullptr;
    if (QTNewDataReferenceFromFullPathCFString(path, kQTNativeDefaultPathStyle, 0, &reference,
                                               &type) == noErr)
        NewMovieFromDataRef(&movie, newMovieActive, nullptr, reference, type);
    if (reference)
        DisposeHandle(reference);
    if (!movie)
        return std::nullopt;
    const double seconds = GetMovieDuration(movie) / double(GetMovieTimeScale(movie));
    DisposeMovie(movie);
    return seconds;
}

}  // namespace

std::optional<MDItem> MDItemCreate(const NSString& path) {
    struct stat info {};
    const bool isFile =
        path && stat(path.fileSystemRepresentation(), &info) == 0 && S_ISREG(info.st_mode);
    return isFile ? std::optional(MDItem{path}) : std::nullopt;
}

NSDictionary MDItemCopyAttributes(const MDItem& item, const NSArray& names) {
    NSDictionary attributes = NSDictionary::dictionary();
    for (const PropertyListValue& name : names)
        if (name.stringValue() == kMDItemDurationSeconds)
            if (const auto seconds = durationInSeconds(item.path))
                attributes.setObject(*seconds, kMDItemDurationSeconds);
    return attributes;
}

}  // namespace TWQuickTime
