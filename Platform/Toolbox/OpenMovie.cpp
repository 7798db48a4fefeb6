#include "Private/OpenMovie.h"

#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/moviefile/MovieWriter.h"
#include "Engines/transcode/MovieImport.h"
#include "Private/MemoryReferences.h"
#include "Private/MovieFileStorage.h"

namespace TWQuickTime {
namespace {

result::Expected<std::unique_ptr<MovieRecord>> openForeignMovie(const std::string& path,
                                                                const result::Failure& why) {
    if (!mayBeForeign(why))
        return why;
    auto movie = transcode::importMovie(path);
    if (!movie)
        return why;
    return std::make_unique<MovieRecord>(std::move(*movie));
}

/// Keeps the part of the file that the movie's tables lie in from being written to; the tables of
/// fragments lie anywhere behind the movie.
void keepMovieAtom(MovieRecord& record, const moviefile::OpenedMovie& opened) {
    const FileIdentity file = fileIdentityOf(opened.storage->fileDescriptor());
    moviefile::ByteRange range{opened.movieAtom.offset, opened.movieAtom.sizeInBytes};
    if (opened.fragmented)
        range.sizeInBytes = opened.self->size() - range.offset;
    record.atomUse = std::make_unique<MovieAtomUse>(file, range);
}

/// A reference that names its data for everybody in this process.
timeline::DataReference portableReference(const timeline::DataReference& reference) {
    if (!reference.store)
        return reference;
    const std::string path = reference.store->path();
    const bool nameable = !path.empty() && fileIdentityOf(path).device != 0 &&
                          fileIdentityOf(path) == fileIdentityOf(reference.store->descriptor());
    return nameable ? moviefile::makeFileReference(path) : makeMemoryReference(reference.store);
}

void followReference(timeline::DataReference& reference) {
    reference.store = storeOfMemoryReference(reference);
    if (reference.store || reference.isSelf())
        return;
    const auto path = moviefile::pathOfReference(reference, "");
    if (!path)
        return;
    if (auto storage = MovieStorage::openStorageOfFile(*path)) {
        reference.store = std::move(storage);
        return;
    }
    auto opened = moviefile::openDataReference(reference, nullptr);
    if (opened)
        reference.store = std::move(*opened);
}

}  // namespace

bool mayBeForeign(const result::Failure& failure) {
    return failure.kind != result::FailureKind::permission &&
           failure.kind != result::FailureKind::io;
}

result::Expected<std::unique_ptr<MovieRecord>> openMovieAtPath(const std::string& path,
                                                               std::int32_t flags) {
    auto record = openMovieWithAtom(path, flags);
    return record ? std::move(record) : openForeignMovie(path, record.failure());
}

result::Expected<std::unique_ptr<MovieRecord>> openMovieWithAtom(const std::string& path,
                                                                 std::int32_t flags) {
    moviefile::ReadOptions options;
    options.resolveReferences = (flags & newMovieDontResolveDataRefs) == 0;
    auto opened = moviefile::openMovieFile(path, moviefile::Access::read, options);
    if (!opened)
        return opened.failure();
    auto record = std::make_unique<MovieRecord>(std::move(opened->movie));
    record->file = opened->self;
    record->storage = MovieStorage::openStorageOfFile(path);
    keepMovieAtom(*record, *opened);
    return record;
}

result::Expected<std::vector<std::byte>> movieAtomForHandle(const timeline::Movie& movie) {
    moviefile::WriteOptions options;
    options.compression = moviefile::Compression::never;
    options.mapDataReference = portableReference;
    return moviefile::writeMovieAtom(movie, options);
}

result::Expected<std::unique_ptr<timeline::Movie>> movieOfAtom(const timeline::SharedBytes& atom,
                                                               std::int32_t flags) {
    moviefile::ReadOptions options;
    options.resolveReferences = false;
    auto movie = moviefile::readMovieAtom(atom, options);
    if (movie && (flags & newMovieDontResolveDataRefs) == 0)
        for (const auto& track : (*movie)->tracks)
            if (track->media)
                for (timeline::DataReference& reference : track->media->dataReferences)
                    followReference(reference);
    return movie;
}

}  // namespace TWQuickTime
