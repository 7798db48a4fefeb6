#include <sys/stat.h>

#include <cmath>

#include "Engines/moviefile/Flatten.h"
#include "MovieStorage.h"
#include "Private/DataReferencePath.h"
#include "Private/OpenMovie.h"
#include "Private/RecordCalls.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {
namespace {

/// Tells the movie's progress procedure, between one opening and one closing message.
class FlattenProgress {
  public:
    explicit FlattenProgress(MovieRecord& record) : record_(record) {}

    bool open() { return tell(movieProgressOpen, 0); }
    bool update(double fraction) { return tell(movieProgressUpdatePercent, fraction); }
    /// Its answer changes nothing any more.
    void close(double fraction) {
        const OSErr kept = status_;
        tell(movieProgressClose, fraction);
        status_ = kept;
    }
    /// What the procedure stopped with; 0 when it did not.
    OSErr status() const { return status_; }

  private:
    bool tell(std::int16_t message, double fraction) {
        if (record_.progressProc)
            status_ = record_.progressProc(&record_, message, progressOpFlatten,
                                           static_cast<Fixed>(std::lround(fraction * kFixedOne)),
                                           record_.progressRefCon);
        return status_ == noErr;
    }

    MovieRecord& record_;
    OSErr status_ = noErr;
};

/// A movie of the enabled tracks only; media data stay where they are.
result::Expected<std::unique_ptr<timeline::Movie>> activeTracksOf(const timeline::Movie& movie) {
    auto atom = movieAtomForHandle(movie);
    if (!atom)
        return atom.failure();
    auto copy = movieOfAtom(timeline::SharedBytes::adopt(std::move(*atom)), 0);
    if (!copy)
        return copy;
    std::vector<const timeline::Track*> disabled;
    for (const auto& track : (*copy)->tracks)
        if (!track->enabled())
            disabled.push_back(track.get());
    for (const timeline::Track* track : disabled)
        (*copy)->deleteTrack(track);
    return copy;
}

OSErr flatten(MovieRecord& record, const std::string& path, std::int32_t flags) {
    moviefile::FlattenOptions options;
    options.place = (flags & flattenForceMovieResourceBeforeMovieData)
                        ? moviefile::MoviePlace::beforeData
                        : moviefile::MoviePlace::afterData;
    options.interleave = (flags & flattenDontInterleaveFlatten) == 0;
    if (flags & flattenCompressMovieResource)
        options.compression = moviefile::Compression::always;
    FlattenProgress progress(record);
    options.progress = [&](double fraction) { return progress.update(fraction); };
    if (!progress.open())
        return progress.status();
    result::Status flattened;
    if (flags & flattenActiveTracksOnly) {
        const auto active = activeTracksOf(*record.movie);
        flattened = active ? moviefile::flattenMovie(**active, path, options) : active.failure();
    } else {
        flattened = moviefile::flattenMovie(*record.movie, path, options);
    }
    progress.close(flattened ? 1 : 0);
    return progress.status() != noErr ? progress.status() : statusOf(flattened);
}

}  // namespace

Movie FlattenMovieDataToDataRef(Movie movie, std::int32_t movieFlattenFlags, Handle dataRef,
                                OSType dataRefType, OSType, ScriptCode,
                                std::uint32_t createMovieFileFlags) {
    Movie flattened = nullptr;
    workOnObject("FlattenMovieDataToDataRef", movie, [&](MovieRecord& record) -> OSErr {
        const NSString path = dataReferencePath(dataRef, dataRefType);
        if (!path)
            return invalidDataRef;
        struct stat info {};
        const bool isThere = lstat(path.fileSystemRepresentation(), &info) == 0;
        if (isThere && (createMovieFileFlags & createMovieFileDeleteCurFile) == 0)
            return dupFNErr;
        if (const OSErr status = flatten(record, path.utf8(), movieFlattenFlags))
            return status;
        if (createMovieFileFlags & createMovieFileDontCreateMovie)
            return noErr;
        auto opened = openMovieAtPath(path.utf8(), newMovieActive);
        if (!opened)
            return statusOfOpeningFailure(opened.failure());
        flattened = opened->release();
        return noErr;
    });
    return flattened;
}

}  // namespace TWQuickTime
