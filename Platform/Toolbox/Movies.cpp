#include "Movies.h"

#include <algorithm>

#include "Private/RecordCalls.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {

Movie NewMovie(std::int32_t) {
    ToolboxCall call("NewMovie");
    if (call.faulted())
        return nullptr;
    auto model = std::make_unique<timeline::Movie>();
    model->creationTime = model->modificationTime = currentMovieFileTime();
    call.succeed();
    return newMovieRecord(std::move(model));
}

void DisposeMovie(Movie movie) {
    changeObject("DisposeMovie", movie, [](MovieRecord& record) { delete &record; });
}

void SetMovieProgressProc(Movie movie, MovieProgressUPP progressProc, RefCon refCon) {
    changeObject("SetMovieProgressProc", movie, [&](MovieRecord& record) {
        record.progressProc = progressProc;
        record.progressRefCon = progressProc ? refCon : 0;
    });
}

void GetMovieProgressProc(Movie movie, MovieProgressUPP* progressProc, RefCon* refCon) {
    if (progressProc)
        *progressProc = nullptr;
    if (refCon)
        *refCon = 0;
    changeObject("GetMovieProgressProc", movie, [&](const MovieRecord& record) {
        if (progressProc)
            *progressProc = record.progressProc;
        if (refCon)
            *refCon = record.progressRefCon;
    });
}

void SetMovieTimeScale(Movie movie, TimeScale timeScale) {
    workOnObject("SetMovieTimeScale", movie, [&](MovieRecord& record) -> OSErr {
        if (timeScale <= 0)
            return paramErr;
        return statusOf(record.movie->setTimeScale(static_cast<std::uint32_t>(timeScale)));
    });
}

TimeScale GetMovieTimeScale(Movie movie) {
    return readObject("GetMovieTimeScale", movie, TimeScale{0}, [](const MovieRecord& record) {
        return limitedTimeValue(record.movie->timeScale);
    });
}

TimeValue GetMovieDuration(Movie movie) {
    return readObject("GetMovieDuration", movie, TimeValue{0}, [](const MovieRecord& record) {
        return limitedTimeValue(record.movie->duration());
    });
}

TimeValue GetMovieTime(Movie movie, TimeRecord* currentTime) {
    if (currentTime)
        *currentTime = {};
    return readObject("GetMovieTime", movie, TimeValue{0}, [&](const MovieRecord& record) {
        if (currentTime)
            *currentTime = {record.movie->currentTime, limitedTimeValue(record.movie->timeScale)};
        return limitedTimeValue(record.movie->currentTime);
    });
}

void SetMovieTimeValue(Movie movie, TimeValue newTime) {
    changeObject("SetMovieTimeValue", movie, [&](MovieRecord& record) {
        timeline::Movie& model = *record.movie;
        model.currentTime = std::clamp<std::int64_t>(newTime, 0, model.duration());
    });
}

TimeValue GetMoviePosterTime(Movie movie) {
    return readObject("GetMoviePosterTime", movie, TimeValue{0}, [](const MovieRecord& record) {
        return limitedTimeValue(record.movie->posterTime);
    });
}

void SetMoviePosterTime(Movie movie, TimeValue posterTime) {
    changeObject("SetMoviePosterTime", movie,
                 [&](MovieRecord& record) { record.movie->posterTime = std::max(posterTime, 0); });
}

ShortFixed GetMoviePreferredVolume(Movie movie) {
    return readObject("GetMoviePreferredVolume", movie, ShortFixed{0},
                      [](const MovieRecord& record) { return record.movie->preferredVolume; });
}

void SetMoviePreferredVolume(Movie movie, ShortFixed volume) {
    changeObject("SetMoviePreferredVolume", movie,
                 [&](MovieRecord& record) { record.movie->preferredVolume = volume; });
}

Fixed GetMoviePreferredRate(Movie movie) {
    return readObject("GetMoviePreferredRate", movie, Fixed{0},
                      [](const MovieRecord& record) { return record.movie->preferredRate; });
}

void SetMoviePreferredRate(Movie movie, Fixed rate) {
    changeObject("SetMoviePreferredRate", movie,
                 [&](MovieRecord& record) { record.movie->preferredRate = rate; });
}

}  // namespace TWQuickTime
