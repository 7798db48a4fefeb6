#include "MovieArgument.h"

#include <MovieStorage.h>
#include <Movies.h>
#include <NSLog.h>
#include <StDataRef.h>
#include <Tracks.h>

#include "CommandFailure.h"

namespace twqt {

using TWQuickTime::GetMoviesError;
using TWQuickTime::NSString;
using TWQuickTime::OSErr;

namespace {

/// Tells why a file cannot be opened for changing, by opening it again.
OSErr statusOfOpeningForChange(const std::string& path) {
    const TWQuickTime::StDataRef reference{NSString(path)};
    TWQuickTime::DataHandler storage = nullptr;
    OSErr status = TWQuickTime::OpenMovieStorage(
        reference.GetDataRef(), reference.GetType(),
        TWQuickTime::kDataHCanRead | TWQuickTime::kDataHCanWrite, &storage);
    if (status != TWQuickTime::noErr)
        return status;
    TWQuickTime::CloseMovieStorage(storage);
    TWQuickTime::Movie movie = nullptr;
    status = TWQuickTime::NewMovieFromDataRef(&movie, TWQuickTime::newMovieActive, nullptr,
                                              reference.GetDataRef(), reference.GetType());
    if (movie)
        TWQuickTime::DisposeMovie(movie);
    return status;
}

}  // namespace

OpenedMovie::OpenedMovie(const std::string& path) {
    const TWQuickTime::StDataRef reference{NSString(path)};
    const OSErr status = TWQuickTime::NewMovieFromDataRef(
        &movie_, TWQuickTime::newMovieActive, nullptr, reference.GetDataRef(), reference.GetType());
    if (status != TWQuickTime::noErr)
        throw failureWithStatus("open " + path, status);
}

OpenedMovie::~OpenedMovie() {
    TWQuickTime::DisposeMovie(movie_);
}

void OpenedMovie::movePicturesToOrigin() {
    TWQuickTime::Rect box;
    TWQuickTime::GetMovieBox(movie_, &box);
    for (std::int32_t i = 1; i <= TWQuickTime::GetMovieTrackCount(movie_); ++i) {
        const TWQuickTime::Track track = TWQuickTime::GetMovieIndTrack(movie_, i);
        TWQuickTime::MatrixRecord matrix;
        TWQuickTime::GetTrackMatrix(track, &matrix);
        matrix.matrix[2][0] -= box.left * TWQuickTime::kFixedOne;
        matrix.matrix[2][1] -= box.top * TWQuickTime::kFixedOne;
        TWQuickTime::SetTrackMatrix(track, &matrix);
    }
}

EditedMovie::EditedMovie(const std::string& path) : path_(path), movie_(NSString(path)) {
    if (!movie_.GetMovie())
        throw failureWithStatus("open " + path, statusOfOpeningForChange(path));
}

void EditedMovie::save() {
    const OSErr status = movie_.UpdateMovieFile();
    if (status != TWQuickTime::noErr)
        throw failureWithStatus("write " + path_, status);
}

QuietLog::QuietLog() {
    TWQuickTime::LogSink::replace([](TWQuickTime::LogChannel, const NSString&) {});
}

QuietLog::~QuietLog() {
    TWQuickTime::LogSink::replace({});
}

}  // namespace twqt
