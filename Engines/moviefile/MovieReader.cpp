#include "Engines/moviefile/MovieReader.h"

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/CompressedMovie.h"
#include "Engines/moviefile/FirstOfType.h"
#include "Engines/moviefile/FragmentReader.h"
#include "Engines/moviefile/HeaderAtoms.h"
#include "Engines/moviefile/Origins.h"
#include "Engines/moviefile/ReadContext.h"
#include "Engines/moviefile/StorageSampleStore.h"
#include "Engines/moviefile/UserDataAtoms.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;
using timeline::Movie;

namespace {

Status readHeader(const AtomView& movieAtom, const AtomPlace& parent, Movie& movie) {
    const auto atom = findChild(movieAtom, MovieHeaderAtom::type);
    if (!atom)
        return damagedAt(parent, movieAtom.offset, "no header ('mvhd')");
    const AtomPlace place{&parent, atom->type};
    const auto header = readFields<MovieHeaderAtom>(*atom, place);
    if (!header)
        return header.failure();
    const MovieHeaderAtom& fields = header->atom;
    if (fields.timeScale == 0)
        return damagedAt(place, atom->offset, "a time scale of 0");
    movie.timeScale = fields.timeScale;
    movie.creationTime = fields.creationTime;
    movie.modificationTime = fields.modificationTime;
    movie.preferredRate = fields.preferredRate;
    movie.preferredVolume = fields.preferredVolume;
    movie.matrix = fields.matrix;
    movie.previewTime = fields.previewTime;
    movie.previewDuration = fields.previewDuration;
    movie.posterTime = fields.posterTime;
    movie.selectionTime = fields.selectionTime;
    movie.selectionDuration = fields.selectionDuration;
    movie.currentTime = fields.currentTime;
    movie.nextTrackID = fields.nextTrackID;
    return {};
}

Status readChildren(const AtomView& atom, const AtomPlace& place, ReadContext& context,
                    Movie& movie) {
    FirstOfType isFirst;
    AtomWalker walker(atom.payload(), atom.payloadOffset());
    while (const auto child = walker.next()) {
        if (child->type == fourCharCode("udta") && isFirst(child->type)) {
            movie.userData = readUserData(*child, context.itemsLeft);
        } else if (child->type == fourCharCode("trak")) {
            if (movie.tracks.size() == kGreatestTrackCount) {
                std::size_t none = 0;
                return spend(none, 1, place, child->offset);
            }
            auto track = readTrack(*child, {&place, child->type, movie.tracks.size() + 1}, context);
            if (!track)
                return track.failure();
            movie.tracks.push_back(std::move(*track));
        }
    }
    return walker.damaged() ? Status(damagedChild(place, walker)) : Status();
}

/// The movie atom itself, or the one that it holds compressed.
Expected<AtomView> uncompressedAtom(const AtomView& atom, const AtomPlace& place) {
    const auto compressed = findChild(atom, fourCharCode("cmov"));
    if (!compressed || findChild(atom, MovieHeaderAtom::type))
        return atom;
    auto bytes = decompressMovie(*compressed, {&place, compressed->type});
    if (!bytes)
        return bytes.failure();
    auto inner = wholeAtom(*bytes, 0);
    if (!inner || inner->type != typeMovie)
        return damagedAt(place, atom.offset, "the compressed data are no movie");
    return *inner;
}

}  // namespace

Expected<std::unique_ptr<Movie>> readMovieAtom(const SharedBytes& movieAtom,
                                               const ReadOptions& options,
                                               std::uint64_t offsetInFile) {
    const AtomPlace place{nullptr, typeMovie};
    const auto outer = wholeAtom(movieAtom, offsetInFile);
    if (!outer || outer->type != typeMovie)
        return damagedAt(place, offsetInFile, "not a movie atom");
    const auto atom = uncompressedAtom(*outer, place);
    if (!atom)
        return atom.failure();

    auto movie = std::make_unique<Movie>();
    ReadContext context{options};
    if (const Status read = readHeader(*atom, place, *movie); !read)
        return read.failure();
    context.movieScale = movie->timeScale;
    if (const Status read = readChildren(*atom, place, context, *movie); !read)
        return read.failure();

    auto origin = std::make_shared<MovieOrigin>();
    origin->atom = *atom;
    if (atom->bytes.data() != outer->bytes.data())
        origin->compressedAtom = outer->bytes;
    origin->durationWhenRead = movie->duration();
    origin->timeScaleWhenRead = movie->timeScale;
    movie->origin = std::move(origin);
    return movie;
}

Expected<OpenedMovie> openMovie(std::shared_ptr<Storage> storage, const std::string& path,
                                const ReadOptions& options) {
    OpenedMovie opened;
    opened.storage = std::move(storage);
    auto movieAtom = findMovieAtom(*opened.storage);
    if (!movieAtom)
        return movieAtom.failure();
    opened.movieAtom = *movieAtom;
    const auto bytes =
        viewRange(*opened.storage, opened.movieAtom.offset, opened.movieAtom.sizeInBytes);
    if (!bytes)
        return bytes.failure();
    opened.self =
        options.self ? options.self : std::make_shared<StorageSampleStore>(opened.storage, path);
    ReadOptions withSelf = options;
    withSelf.self = opened.self;
    auto movie = readMovieAtom(*bytes, withSelf, opened.movieAtom.offset);
    if (!movie) {
        Failure failure = movie.failure();
        failure.message = opened.storage->name() + ": " + failure.message;
        return failure;
    }
    opened.movie = std::move(*movie);
    auto fragments = readFragments(*opened.storage, *opened.movie);
    if (!fragments)
        return fragments.failure();
    opened.fragmented = *fragments;
    return opened;
}

Expected<OpenedMovie> openMovieFile(const std::string& path, Access access,
                                    const ReadOptions& options) {
    auto file = FileStorage::open(path, access);
    if (!file)
        return file.failure();
    return openMovie(std::move(*file), path, options);
}

}  // namespace TWQuickTime::moviefile
