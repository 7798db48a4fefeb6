#include <algorithm>

#include "Movies.h"
#include "Private/DataReferencePath.h"
#include "Private/HandleBytes.h"
#include "Private/NewMediaData.h"
#include "Private/OpenMovie.h"
#include "Private/RecordCalls.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {

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
    auto opened = openMovieAtPath(path.utf8(), flags);
    if (!opened)
        return call.fail(statusOfOpeningFailure(opened.failure()));
    *movie = opened->release();
    return call.succeed();
}

OSErr PutMovieIntoHandle(Movie movie, Handle handle) {
    return workOnObject("PutMovieIntoHandle", movie, [&](const MovieRecord& record) -> OSErr {
        if (!IsHandleValid(handle))
            return nilHandleErr;
        const auto atom = movieAtomForHandle(*record.movie);
        return atom ? copyIntoHandle(*atom, handle) : statusOfFailure(atom.failure());
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
    auto model = movieOfAtom(timeline::SharedBytes::copyOf(handleBytes(handle)), flags);
    if (!model)
        return call.fail(statusOfOpeningFailure(model.failure()));
    *movie = newMovieRecord(std::move(*model));
    return call.succeed();
}

}  // namespace TWQuickTime
