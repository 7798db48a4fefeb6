#include "MovieStorage.h"

#include "Movies.h"
#include "Private/ComponentTable.h"
#include "Private/DataReferencePath.h"
#include "Private/MovieStorageHandler.h"
#include "Private/RecordCalls.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {
OSErr OpenMovieStorage(Handle dataRef, OSType dataRefType, std::int32_t flags,
                       DataHandler* dataHandler) {
    ToolboxCall call("OpenMovieStorage");
    if (dataHandler)
        *dataHandler = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!dataHandler)
        return call.fail(paramErr);
    const NSString path = dataReferencePath(dataRef, dataRefType);
    if (!path)
        return call.fail(invalidDataRef);
    auto storage = MovieStorage::open(path.utf8(), (flags & kDataHCanWrite) != 0);
    if (!storage)
        return call.fail(statusOfFailure(storage.failure()));
    *dataHandler = newStorageHandler(std::move(*storage));
    return call.finish(*dataHandler ? noErr : noDataHandler);
}

OSErr CreateMovieStorage(Handle dataRef, OSType dataRefType, OSType, ScriptCode,
                         std::uint32_t flags, DataHandler* dataHandler, Movie* movie) {
    ToolboxCall call("CreateMovieStorage");
    if (dataHandler)
        *dataHandler = nullptr;
    if (movie)
        *movie = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    const bool wantsMovie = (flags & createMovieFileDontCreateMovie) == 0;
    if (wantsMovie && !movie)
        return call.fail(paramErr);
    const NSString path = dataReferencePath(dataRef, dataRefType);
    if (!path)
        return call.fail(invalidDataRef);
    auto storage = MovieStorage::create(path.utf8(), (flags & createMovieFileDeleteCurFile)
                                                         ? ExistingFile::replace
                                                         : ExistingFile::keep);
    if (!storage)
        return call.fail(statusOfFailure(storage.failure()));
    if (dataHandler && (flags & createMovieFileDontOpenFile) == 0) {
        *dataHandler = newStorageHandler(*storage);
        if (!*dataHandler)
            return call.fail(noDataHandler);
    }
    if (wantsMovie) {
        auto model = std::make_unique<timeline::Movie>();
        model->creationTime = model->modificationTime = currentMovieFileTime();
        auto record = std::make_unique<MovieRecord>(std::move(model));
        record->storage = std::move(*storage);
        *movie = record.release();
    }
    return call.succeed();
}

OSErr CloseMovieStorage(DataHandler dataHandler) {
    ToolboxCall call("CloseMovieStorage");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!storageOfHandler(dataHandler))
        return call.fail(noDataHandler);
    return call.finish(closeInstance(dataHandler));
}

OSErr UpdateMovieInStorage(Movie movie, DataHandler dataHandler) {
    return workOnObject("UpdateMovieInStorage", movie, [&](MovieRecord& record) -> OSErr {
        const std::shared_ptr<MovieStorage> storage = storageOfHandler(dataHandler);
        if (!storage)
            return noDataHandler;
        if (!storage->writable())
            return dataNotOpenForWrite;
        return statusOf(storage->writeMovie(*record.movie));
    });
}

}  // namespace TWQuickTime
