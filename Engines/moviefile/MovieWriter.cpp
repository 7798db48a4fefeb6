#include "Engines/moviefile/MovieWriter.h"

#include <algorithm>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/CompressedMovie.h"
#include "Engines/moviefile/HeaderAtoms.h"
#include "Engines/moviefile/UserDataAtoms.h"
#include "Engines/moviefile/WriteContext.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;
using timeline::Movie;
using timeline::Track;

namespace {

const MovieOrigin* originOf(const Movie& movie) {
    return dynamic_cast<const MovieOrigin*>(movie.origin.get());
}

/// A movie time for a field of 32 bits.
std::uint32_t fieldOf(AtomSink& sink, std::int64_t time, const char* name) {
    if (time < 0 || time > std::numeric_limits<std::uint32_t>::max())
        sink.fail({FailureKind::limit, std::string("the movie's ") + name + " of " +
                                           std::to_string(time) + " does not fit into a file"});
    return static_cast<std::uint32_t>(time);
}

void writeHeader(WriteContext& context, const AtomView* original) {
    const Movie& movie = context.movie;
    const MovieOrigin* origin = originOf(movie);
    AtomSink& sink = context.sink;
    putChanged<MovieHeaderAtom>(sink, original, [&](MovieHeaderAtom& atom) {
        atom.creationTime = movie.creationTime;
        atom.modificationTime = movie.modificationTime;
        const bool sameScale = origin && origin->timeScaleWhenRead == movie.timeScale;
        atom.timeScale = movie.timeScale;
        if (!original || !sameScale || context.folds(origin->fragmented) ||
            movie.duration() != origin->durationWhenRead)
            atom.duration = static_cast<std::uint64_t>(movie.duration());
        atom.preferredRate = movie.preferredRate;
        atom.preferredVolume = movie.preferredVolume;
        atom.matrix = movie.matrix;
        atom.previewTime = fieldOf(sink, movie.previewTime, "preview time");
        atom.previewDuration = fieldOf(sink, movie.previewDuration, "preview duration");
        atom.posterTime = fieldOf(sink, movie.posterTime, "poster time");
        atom.selectionTime = fieldOf(sink, movie.selectionTime, "selection time");
        atom.selectionDuration = fieldOf(sink, movie.selectionDuration, "selection duration");
        atom.currentTime = fieldOf(sink, movie.currentTime, "current time");
        atom.nextTrackID = movie.nextTrackID;
        atom.version =
            versionFor(atom.version, atom.creationTime, atom.modificationTime, atom.duration);
    });
}

/// Writes the tracks: those that were read in the places where they were, new ones behind them.
class TrackWriter {
  public:
    explicit TrackWriter(WriteContext& context) : context_(context) {
        for (const auto& track : context.movie.tracks) {
            const auto* origin = dynamic_cast<const TrackOrigin*>(track->origin.get());
            tracks_.push_back({track.get(), origin, false});
        }
    }

    /// A track at the place of the 'trak' atom it was read from; nothing when it was deleted.
    void writeAt(const AtomView& original) {
        for (Entry& entry : tracks_) {
            if (entry.written || !entry.origin ||
                entry.origin->atom.bytes.data() != original.bytes.data())
                continue;
            entry.written = true;
            writeTrack(context_, *entry.track, &original);
        }
    }

    void writeOthers() {
        for (Entry& entry : tracks_) {
            if (entry.written)
                continue;
            entry.written = true;
            writeTrack(context_, *entry.track, entry.origin ? &entry.origin->atom : nullptr);
        }
    }

  private:
    struct Entry {
        const Track* track;
        const TrackOrigin* origin;
        bool written;
    };
    WriteContext& context_;
    std::vector<Entry> tracks_;
};

/// The children of 'moov' in their old order.
void writeBody(WriteContext& context, const AtomView& original) {
    TrackWriter tracks(context);
    std::size_t tracksLeft = 0;
    AtomWalker survey(original.payload(), original.payloadOffset());
    while (const auto child = survey.next())
        tracksLeft += child->type == fourCharCode("trak") ? 1 : 0;
    const bool hadTracks = tracksLeft != 0;
    bool hasHeader = false;
    bool hasUserData = false;
    AtomWalker walker(original.payload(), original.payloadOffset());
    while (const auto child = walker.next()) {
        if (child->type == MovieHeaderAtom::type && !hasHeader) {
            hasHeader = true;
            writeHeader(context, &*child);
            if (!hadTracks)
                tracks.writeOthers();
        } else if (child->type == fourCharCode("trak")) {
            tracks.writeAt(*child);
            if (--tracksLeft == 0)
                tracks.writeOthers();
        } else if (child->type == fourCharCode("udta") && !hasUserData) {
            hasUserData = true;
            writeUserDataAtom(context.sink, context.movie.userData, &*child);
        } else if (child->type != fourCharCode("mvex") ||
                   context.options.fragments == Fragments::keep) {
            context.sink.bytes(child->bytes);
        }
    }
    if (!hasUserData)
        writeUserDataAtom(context.sink, context.movie.userData, nullptr);
    context.sink.bytes(walker.stray());
}

void writeMovie(WriteContext& context) {
    const MovieOrigin* origin = originOf(context.movie);
    const AtomScope scope =
        context.sink.open(typeMovie, origin ? origin->atom.headerSizeInBytes : 8);
    if (origin) {
        writeBody(context, origin->atom);
        return;
    }
    writeHeader(context, nullptr);
    TrackWriter(context).writeOthers();
    writeUserDataAtom(context.sink, context.movie.userData, nullptr);
}

bool compresses(const Movie& movie, Compression compression) {
    const MovieOrigin* origin = originOf(movie);
    return compression == Compression::always ||
           (compression == Compression::asItWas && origin && !origin->compressedAtom.empty());
}

Status checkMovie(const Movie& movie) {
    if (movie.timeScale == 0)
        return Failure{FailureKind::badArgument, "the movie has a time scale of 0"};
    for (const auto& track : movie.tracks) {
        if (track->media && track->media->timeScale == 0)
            return Failure{
                FailureKind::badArgument,
                "the media of track " + std::to_string(track->id) + " has a time scale of 0"};
    }
    return {};
}

}  // namespace

Expected<std::vector<std::byte>> writeMovieAtom(const Movie& movie, const WriteOptions& options) {
    if (const Status checked = checkMovie(movie); !checked)
        return checked.failure();
    AtomSink measurer;
    WriteContext measuring{options, measurer, movie};
    writeMovie(measuring);
    if (!measurer.status())
        return measurer.status().failure();

    std::vector<std::byte> bytes;
    bytes.reserve(static_cast<std::size_t>(measurer.sizeInBytes()));
    AtomSink sink(bytes);
    WriteContext context{options, sink, movie};
    writeMovie(context);
    if (!sink.status())
        return sink.status().failure();
    if (!compresses(movie, options.compression))
        return bytes;
    const MovieOrigin* origin = originOf(movie);
    if (origin && !origin->compressedAtom.empty() &&
        origin->atom.bytes == SharedBytes(bytes, nullptr)) {
        const auto packed = origin->compressedAtom.span();
        return std::vector<std::byte>(packed.begin(), packed.end());
    }
    return compressMovie(bytes);
}

Expected<std::uint64_t> measureMovieAtom(const Movie& movie, const WriteOptions& options) {
    if (compresses(movie, options.compression)) {
        const auto bytes = writeMovieAtom(movie, options);
        if (!bytes)
            return bytes.failure();
        return std::uint64_t{bytes->size()};
    }
    if (const Status checked = checkMovie(movie); !checked)
        return checked.failure();
    AtomSink measurer;
    WriteContext context{options, measurer, movie};
    writeMovie(context);
    if (!measurer.status())
        return measurer.status().failure();
    return measurer.sizeInBytes();
}

}  // namespace TWQuickTime::moviefile
