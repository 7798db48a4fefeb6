#include "Private/MovieLoading.h"

#include "Engines/moviefile/FileStorage.h"
#include "Private/MovieFileStorage.h"
#include "Private/OpenMovie.h"

namespace TWQuickTime {
namespace {

/// A few milliseconds of looking at packets of coded sound.
constexpr std::size_t kPacketsOfOneTurn = 2000;

}  // namespace

MovieLoading::MovieLoading(std::string path, std::int32_t flags)
    : path_(std::move(path)), flags_(flags), state_(kMovieLoadStateLoading) {}

result::Expected<std::unique_ptr<MovieLoading>> MovieLoading::begin(const std::string& path,
                                                                    std::int32_t flags) {
    const auto file = moviefile::FileStorage::open(path, moviefile::Access::read);
    if (!file)
        return file.failure();
    return std::unique_ptr<MovieLoading>(new MovieLoading(path, flags));
}

void MovieLoading::takeTurn(MovieRecord& record) {
    switch (state_) {
        case kMovieLoadStateLoading:
            import_ ? readPackets(record) : readHeaders(record);
            break;
        case kMovieLoadStateLoaded:
            state_ = kMovieLoadStatePlayable;
            break;
        case kMovieLoadStatePlayable:
            state_ = kMovieLoadStatePlaythroughOK;
            break;
        case kMovieLoadStatePlaythroughOK:
            state_ = kMovieLoadStateComplete;
            break;
        default:
            break;
    }
}

void MovieLoading::readHeaders(MovieRecord& record) {
    auto opened = openMovieWithAtom(path_, flags_);
    if (opened) {
        record.file = std::move((*opened)->file);
        record.storage = std::move((*opened)->storage);
        record.atomUse = std::move((*opened)->atomUse);
        adopt(record, std::move((*opened)->movie));
        return;
    }
    auto import =
        mayBeForeign(opened.failure()) ? transcode::MovieImport::open(path_) : opened.failure();
    if (import)
        import_ = std::move(*import);
    else
        state_ = kMovieLoadStateError;
}

void MovieLoading::readPackets(MovieRecord& record) {
    auto movie = import_->advance(kPacketsOfOneTurn);
    if (!movie) {
        state_ = kMovieLoadStateError;
        import_.reset();
    } else if (*movie) {
        import_.reset();
        adopt(record, std::move(*movie));
    }
}

void MovieLoading::adopt(MovieRecord& record, std::unique_ptr<timeline::Movie> loaded) {
    // In place: whoever asked for the movie's user data meanwhile still holds them.
    *record.movie = std::move(*loaded);
    state_ = kMovieLoadStateLoaded;
}

}  // namespace TWQuickTime
