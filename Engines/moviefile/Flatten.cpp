#include "Engines/moviefile/Flatten.h"

#include <limits>
#include <utility>
#include <vector>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/BigEndian.h"
#include "Engines/moviefile/DataCopier.h"
#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/FileSurvey.h"
#include "Engines/moviefile/MediaRuns.h"
#include "Engines/moviefile/ReplacementFile.h"

namespace TWQuickTime::moviefile {
namespace {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;
using timeline::ChunkPlacement;
using timeline::Movie;

constexpr std::uint64_t greatestSmallSize = std::numeric_limits<std::uint32_t>::max();
// A file's offsets are signed; what lies beyond could not be written anyway.
constexpr std::uint64_t greatestMediaSize = std::uint64_t{1} << 62;
// In front of the samples: 'wide' and 'mdat', or the two as one header with a 64-bit size.
constexpr std::uint64_t mediaHeaderSize = 16;
constexpr int greatestCompressionAttempts = 8;
constexpr std::uint64_t greatestCompressionSlack = 128;

/// The media's new places while a movie atom is written; the movie gets its own media back.
class PlacedMedia {
  public:
    explicit PlacedMedia(Movie& movie) : movie_(movie), kept_(movie.tracks.size()) {}
    ~PlacedMedia() {
        for (std::size_t i = 0; i < kept_.size(); ++i)
            if (kept_[i])
                movie_.tracks[i]->media = std::move(kept_[i]);
    }
    PlacedMedia(const PlacedMedia&) = delete;
    PlacedMedia& operator=(const PlacedMedia&) = delete;

    /// @param offset  to be added to the offsets of the chunks
    Status place(std::size_t track, const std::vector<ChunkPlacement>& chunks) {
        auto placed = std::make_unique<timeline::Media>(*movie_.tracks[track]->media);
        if (Status stated = placed->samples.placeChunks(chunks); !stated)
            return stated;
        kept_[track] = std::exchange(movie_.tracks[track]->media, std::move(placed));
        return {};
    }

    Status shift(std::int64_t delta) {
        for (std::size_t i = 0; i < kept_.size(); ++i) {
            if (!kept_[i])
                continue;
            if (Status shifted = movie_.tracks[i]->media->samples.shiftChunks(delta); !shifted)
                return shifted;
        }
        return {};
    }

  private:
    Movie& movie_;
    std::vector<std::unique_ptr<timeline::Media>> kept_;
};

/// Where the media data go, seen from their first byte.
struct MediaPlan {
    std::vector<std::vector<ChunkPlacement>> chunks;  ///< for each stream
    std::uint64_t sizeInBytes = 0;
    SampleRun first;
};

Expected<MediaPlan> planMedia(Interleaver& interleaver, std::size_t streamCount) {
    MediaPlan plan;
    plan.chunks.resize(streamCount);
    const Status planned =
        interleaver.forEachRun([&](std::size_t stream, const SampleRun& run) -> Status {
            if (plan.first.store == nullptr)
                plan.first = run;
            std::vector<ChunkPlacement>& chunks = plan.chunks[stream];
            if (run.beginsChunk)
                chunks.push_back({plan.sizeInBytes, 0, run.descriptionIndex});
            chunks.back().sampleCount += run.sampleCount;
            plan.sizeInBytes += run.sizeInBytes;
            if (plan.sizeInBytes > greatestMediaSize)
                return Failure{FailureKind::limit, "more media data than a file can hold"};
            return {};
        });
    if (!planned)
        return planned.failure();
    return plan;
}

std::vector<std::byte> mediaHeader(std::uint64_t sizeInBytes) {
    std::vector<std::byte> bytes(mediaHeaderSize);
    const std::span<std::byte> all(bytes);
    if (sizeInBytes + 8 > greatestSmallSize) {
        storeU32(all.first<4>(), 1);
        storeU32(all.subspan<4, 4>(), typeMediaData);
        storeU64(all.last<8>(), sizeInBytes + mediaHeaderSize);
    } else {
        storeU32(all.first<4>(), 8);
        storeU32(all.subspan<4, 4>(), typeWide);
        storeU32(all.subspan<8, 4>(), static_cast<std::uint32_t>(sizeInBytes + 8));
        storeU32(all.subspan<12, 4>(), typeMediaData);
    }
    return bytes;
}

void appendFreeAtom(std::vector<std::byte>& bytes, std::uint64_t sizeInBytes) {
    const std::size_t start = bytes.size();
    bytes.resize(start + static_cast<std::size_t>(sizeInBytes));
    storeU32(std::span(bytes).subspan(start).first<4>(), static_cast<std::uint32_t>(sizeInBytes));
    storeU32(std::span(bytes).subspan(start + 4).first<4>(), typeFree);
}

/// The first place for anything, and how the samples have to lie (see movieInFront).
struct Ground {
    std::uint64_t head = 0;
    std::uint64_t alignment = 1;  ///< data that are shared keep their place within a block

    /// What has to be added to an offset to give it the residue, as the size of a free atom.
    std::uint64_t filling(std::uint64_t offset, std::uint64_t residue) const {
        const std::uint64_t missing =
            (residue % alignment + alignment - offset % alignment) % alignment;
        return missing == 0 || missing >= 8 ? missing : missing + alignment;
    }
};

/// Everything but the samples.
struct Layout {
    std::vector<std::byte> front;        ///< up to the first sample
    std::vector<std::byte> movieBehind;  ///< empty when the movie is in front
};

WriteOptions writeOptions(const FlattenOptions& options) {
    WriteOptions write;
    write.compression = options.compression;
    write.fragments = Fragments::fold;
    write.mapDataReference = [](const timeline::DataReference&) { return makeSelfReference(); };
    return write;
}

/// The movie atom with the samples shifted by what is in front of them, and what fills the rest of
/// its room. An atom that is compressed changes its size with the offsets in it, so that room is
/// left until it fits.
Expected<std::vector<std::byte>> movieInFront(const Movie& movie, PlacedMedia& placed,
                                              WriteOptions write, const MediaPlan& plan,
                                              const Ground& ground) {
    Expected<std::uint64_t> measured = measureMovieAtom(movie, write);
    if (!measured)
        return measured.failure();
    // Offsets may need 64 bits only because the atom is in front of them.
    if (ground.head + *measured + 2 * ground.alignment + mediaHeaderSize + plan.sizeInBytes >
        greatestSmallSize) {
        write.wideOffsets = true;
        measured = measureMovieAtom(movie, write);
        if (!measured)
            return measured.failure();
    }
    std::uint64_t room = *measured;
    std::uint64_t shifted = 0;
    for (int attempt = 0; attempt < greatestCompressionAttempts; ++attempt) {
        room += ground.filling(ground.head + room + mediaHeaderSize, plan.first.offset);
        const std::uint64_t samples = ground.head + room + mediaHeaderSize;
        if (Status moved = placed.shift(static_cast<std::int64_t>(samples - shifted)); !moved)
            return moved.failure();
        shifted = samples;
        Expected<std::vector<std::byte>> atom = writeMovieAtom(movie, write);
        if (!atom)
            return atom.failure();
        const bool fits = atom->size() == room || atom->size() + 8 <= room;
        if (fits && room - atom->size() <= 2 * ground.alignment + greatestCompressionSlack) {
            if (atom->size() < room)
                appendFreeAtom(*atom, room - atom->size());
            return atom;
        }
        room = atom->size() + greatestCompressionSlack / 2;
    }
    return Failure{FailureKind::limit, "the movie atom does not settle on a size"};
}

Expected<Layout> layOut(Movie& movie, const MediaPlan& plan,
                        const std::vector<std::size_t>& trackOfStream, const Ground& ground,
                        const FlattenOptions& options) {
    PlacedMedia placed(movie);
    for (std::size_t i = 0; i < trackOfStream.size(); ++i) {
        if (Status stated = placed.place(trackOfStream[i], plan.chunks[i]); !stated)
            return stated.failure();
    }
    Layout layout;
    Expected<std::vector<std::byte>> atom = std::vector<std::byte>();
    if (options.place == MoviePlace::beforeData) {
        atom = movieInFront(movie, placed, writeOptions(options), plan, ground);
        if (atom)
            layout.front = std::move(*atom);
    } else {
        const std::uint64_t unfilled = ground.head + mediaHeaderSize;
        const std::uint64_t filling = ground.filling(unfilled, plan.first.offset);
        if (Status moved = placed.shift(static_cast<std::int64_t>(unfilled + filling)); !moved)
            return moved.failure();
        if (filling != 0)
            appendFreeAtom(layout.front, filling);
        atom = writeMovieAtom(movie, writeOptions(options));
        if (atom)
            layout.movieBehind = std::move(*atom);
    }
    if (!atom)
        return atom.failure();
    const std::vector<std::byte> header = mediaHeader(plan.sizeInBytes);
    layout.front.insert(layout.front.end(), header.begin(), header.end());
    return layout;
}

/// Reports the copied part, never less than before.
DataCopier::Progress progressOfCopy(const FlattenOptions& options, std::uint64_t mediaSize) {
    if (!options.progress)
        return {};
    return [&options, mediaSize](std::uint64_t copied) {
        return options.progress(static_cast<double>(copied) / static_cast<double>(mediaSize));
    };
}

Status report(const FlattenOptions& options, double fraction) {
    if (options.progress && !options.progress(fraction))
        return Failure{FailureKind::cancelled, "flattening was stopped"};
    return {};
}

Status copySamples(Interleaver& interleaver, Storage& destination, std::uint64_t offset,
                   const FlattenOptions& options, std::uint64_t mediaSize) {
    DataCopier copier(destination, offset, progressOfCopy(options, mediaSize));
    const Status copied = interleaver.forEachRun([&](std::size_t, const SampleRun& run) -> Status {
        return copier.add(*run.store, run.offset, run.sizeInBytes);
    });
    return copied ? copier.finish() : copied;
}

}  // namespace

Status flattenInto(Movie& movie, Storage& destination, const FlattenOptions& options) {
    if (Status begun = report(options, 0); !begun)
        return begun;
    std::vector<std::unique_ptr<SampleRunStream>> streams;
    std::vector<std::size_t> trackOfStream;
    for (std::size_t i = 0; i < movie.tracks.size(); ++i) {
        const timeline::Track& track = *movie.tracks[i];
        if (!track.media || track.media->samples.sampleCount() == 0)
            continue;
        streams.push_back(makeMediaRuns(track, movie.timeScale,
                                        options.interleave ? RunOrder::byTime : RunOrder::byTrack));
        trackOfStream.push_back(i);
    }
    Interleaver interleaver(std::move(streams));
    Expected<MediaPlan> plan = planMedia(interleaver, trackOfStream.size());
    if (!plan)
        return plan.failure();

    const bool sharing = plan->first.store && canShareExtents(*plan->first.store, destination);
    if (Status emptied = destination.truncate(0); !emptied)
        return emptied;
    if (Status written = destination.write(0, options.fileType); !written)
        return written;
    const Expected<std::uint64_t> head = prepareToAppend(destination);
    if (!head)
        return head.failure();
    // A progress procedure may look at the movie, so it is whole again before the first call.
    Expected<Layout> layout =
        layOut(movie, *plan, trackOfStream, {*head, sharing ? sharingUnitInBytes : 1}, options);
    if (!layout)
        return layout.failure();
    plan->chunks = {};
    if (Status written = destination.write(*head, layout->front); !written)
        return written;
    const std::uint64_t samples = *head + layout->front.size();
    layout->front = {};
    if (Status copied = copySamples(interleaver, destination, samples, options, plan->sizeInBytes);
        !copied)
        return copied;
    return destination.write(samples + plan->sizeInBytes, layout->movieBehind);
}

Status flattenMovie(Movie& movie, const std::string& destination, const FlattenOptions& options) {
    Expected<ReplacementFile> file = ReplacementFile::create(destination);
    if (!file)
        return file.failure();
    if (Status flattened = flattenInto(movie, file->storage(), options); !flattened)
        return flattened;
    if (Status finished = report(options, 1); !finished)
        return finished;
    return file->commit();
}

}  // namespace TWQuickTime::moviefile
