#include <algorithm>

#include "Movies.h"
#include "Private/CloneDecoders.h"
#include "Private/DataReferencePath.h"
#include "Private/DrawingRecord.h"
#include "Private/HandleBytes.h"
#include "Private/MovieLoading.h"
#include "Private/NewMediaData.h"
#include "Private/OpenMovie.h"
#include "Private/RecordCalls.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {
namespace {

result::Expected<std::unique_ptr<MovieRecord>> beginLoading(const std::string& path,
                                                            std::int32_t flags) {
    auto loading = MovieLoading::begin(path, flags);
    if (!loading)
        return loading.failure();
    auto record = std::make_unique<MovieRecord>(std::make_unique<timeline::Movie>());
    record->loading = std::move(*loading);
    return record;
}

void beCloneOf(MovieRecord& record, const timeline::SharedBytes& atom,
               const std::shared_ptr<CloneDecoders>& decoders) {
    record.drawing = std::make_unique<MovieDrawing>();
    record.drawing->atom = atom;
    record.drawing->cloneDecoders = decoders;
}

}  // namespace

OSErr NewMovieFromDataRef(Movie* movie, std::int16_t flags, std::int16_t* resourceID,
                          Handle dataRef, OSType dataRefType) {
    ToolboxCall call("NewMovieFromDataRef");
    if (movie)
        *movie = nullptr;
    if (resourceID)
        *resourceID = 0;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!movie)
        return call.fail(paramErr);
    const NSString path = dataReferencePath(dataRef, dataRefType);
    if (!path)
        return call.fail(invalidDataRef);
    auto opened = (flags & newMovieAsyncOK) ? beginLoading(path.utf8(), flags)
                                            : openMovieAtPath(path.utf8(), flags);
    if (!opened)
        return call.fail(statusOfOpeningFailure(opened.failure()));
    *movie = opened->release();
    return call.succeed();
}

std::int32_t GetMovieLoadState(Movie movie) {
    return readObject("GetMovieLoadState", movie, kMovieLoadStateError,
                      [](const MovieRecord& record) {
                          return record.loading ? record.loading->state() : kMovieLoadStateComplete;
                      });
}

OSErr PutMovieIntoHandle(Movie movie, Handle handle) {
    return workOnObject("PutMovieIntoHandle", movie, [&](MovieRecord& record) -> OSErr {
        if (!IsHandleValid(handle))
            return nilHandleErr;
        const auto atom = movieAtomForHandle(*record.movie);
        if (!atom)
            return statusOfFailure(atom.failure());
        CloneDecoders::movieWasPutInto(handle, record.cloneDecoders);
        return copyIntoHandle(*atom, handle);
    });
}

OSErr NewMovieFromHandle(Movie* movie, Handle handle, std::int16_t flags,
                         Boolean* dataRefWasChanged) {
    ToolboxCall call("NewMovieFromHandle");
    if (movie)
        *movie = nullptr;
    if (dataRefWasChanged)
        *dataRefWasChanged = false;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!movie)
        return call.fail(paramErr);
    if (!IsHandleValid(handle))
        return call.fail(nilHandleErr);
    const auto atom = timeline::SharedBytes::copyOf(handleBytes(handle));
    auto model = movieOfAtom(atom, flags);
    if (!model)
        return call.fail(statusOfOpeningFailure(model.failure()));
    *movie = newMovieRecord(std::move(*model));
    if (const auto decoders = CloneDecoders::ofMovieIn(handle))
        beCloneOf(**movie, atom, decoders);
    return call.succeed();
}

}  // namespace TWQuickTime
