#include "UQuickTimeAudio.h"

#include "MDItem.h"
#include "QTMovie.h"

namespace TWQuickTime {
namespace {

double durationByMetadata(const NSString& path) {
    const auto item = MDItemCreate(path);
    if (!item)
        return 0;
    NSArray names = NSArray::array();
    names.addObject(kMDItemDurationSeconds);
    return MDItemCopyAttributes(*item, names).objectForKey(kMDItemDurationSeconds).doubleValue();
}

double durationByMovie(const NSString& path) {
    NSError error;
    const std::shared_ptr<QTMovie> movie = QTMovie::initWithFile(path, &error);
    double seconds = 0;
    if (movie && !error)
        QTGetTimeInterval(movie->duration(), &seconds);
    return seconds;
}

}  // namespace

OSErr UQuickTimeAudio::GetAudioDuration(const NSString& inPath, double& outSeconds) {
    outSeconds = 0;
    if (!inPath)
        return noErr;
    const NSString path = inPath.pathExtension() == "band"
                              ? inPath.stringByAppendingPathComponent("Output/Output.aif")
                              : inPath;
    double seconds = durationByMetadata(path);
    if (seconds == 0.0)
        seconds = durationByMovie(path);
    outSeconds = seconds;
    return noErr;
}

}  // namespace TWQuickTime
