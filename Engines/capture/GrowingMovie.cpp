#include "Engines/capture/GrowingMovie.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>

#include "Engines/moviefile/AtomSink.h"
#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/FragmentAtoms.h"
#include "Engines/moviefile/MovieAtomUpdate.h"
#include "Engines/moviefile/MovieWriter.h"

namespace TWQuickTime::capture {

using moviefile::AtomScope;
using moviefile::AtomSink;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;
using timeline::fourCharCode;

namespace {

constexpr double kSecondsPerFragment = 0.5;
/// Uncompressed pictures are written sooner, so that they do not fill the memory.
constexpr std::uint64_t kMostPendingBytes = 8u << 20;
constexpr std::uint32_t kMovieTimeScale = 90000;
constexpr std::uint64_t kSecondsFrom1904To1970 = 2082844800;

struct FileTypeAtom {
    static constexpr timeline::FourCharCode type = moviefile::typeFileType;
    std::uint32_t majorBrand = fourCharCode("qt  ");
    std::uint32_t minorVersion = 0x20050300;
    std::uint32_t compatibleBrand = fourCharCode("qt  ");

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.field("majorBrand", atom.majorBrand);
        v.field("minorVersion", atom.minorVersion);
        v.field("compatibleBrand", atom.compatibleBrand);
    }
};

std::uint64_t secondsSince1904() {
    return static_cast<std::uint64_t>(std::time(nullptr)) + kSecondsFrom1904To1970;
}

}  // namespace

/// A track while a segment is recorded, and its blocks that are not in the file yet.
struct GrowingMovie::SegmentTrack {
    struct Block {
        BlockTimes times;
        std::uint32_t sizeInBytes = 0;
    };

    timeline::Track* track = nullptr;
    TrackFormat format = {};
    std::uint32_t descriptionIndex = 1;
    std::int64_t mediaStart = 0;   ///< of the segment in the media, media units
    std::int64_t startOffset = 0;  ///< of the first block from the segment's start, media units
    bool started = false;
    std::vector<Block> pending = {};
    std::vector<std::byte> data = {};
    std::int64_t pendingDuration = 0;

    timeline::Media& media() const { return *track->media; }
};

/// How the file looked when the last segment ended.
struct GrowingMovie::FileMark {
    dev_t device = 0;
    ino_t node = 0;
    off_t size = 0;
    timespec changed{};

    static FileMark of(const struct stat& info) {
        return {info.st_dev, info.st_ino, info.st_size, info.st_mtim};
    }
    bool operator==(const FileMark& other) const {
        return device == other.device && node == other.node && size == other.size &&
               changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
    }
};

GrowingMovie::GrowingMovie(std::string path) : path_(std::move(path)) {
    movie_.timeScale = kMovieTimeScale;
    movie_.creationTime = movie_.modificationTime = secondsSince1904();
}

GrowingMovie::~GrowingMovie() = default;

bool GrowingMovie::isAsItWasLeft() const {
    struct stat info {};
    return mark_ && stat(path().c_str(), &info) == 0 && FileMark::of(info) == *mark_;
}

timeline::Track& GrowingMovie::trackFor(const TrackFormat& format) {
    for (const auto& track : movie_.tracks) {
        const timeline::Media& media = *track->media;
        if (media.type() == format.mediaType && media.timeScale == format.timeScale &&
            media.descriptions.front() == format.description)
            return *track;
    }
    const bool isSound = format.mediaType == fourCharCode("soun");
    timeline::Track& track = movie_.addTrack(format.dimensions, isSound ? 0x100 : 0);
    track.media = timeline::makeMedia(format.mediaType, format.timeScale);
    timeline::Media& media = *track.media;
    media.handler.name = isSound ? "SoundHandler" : "VideoHandler";
    media.handler.manufacturer = fourCharCode("appl");
    if (!isSound) {
        media.graphicsMode = 0x40;
        media.opColor = {0x8000, 0x8000, 0x8000};
    }
    media.dataReferences.push_back(moviefile::makeSelfReference());
    media.addDescription(format.description);
    track.creationTime = track.modificationTime = secondsSince1904();
    media.creationTime = media.modificationTime = track.creationTime;
    return track;
}

std::int64_t GrowingMovie::inMovie(const SegmentTrack& track, std::int64_t mediaUnits) const {
    return timeline::rescale(mediaUnits, track.format.timeScale, movie_.timeScale);
}

Status GrowingMovie::beginSegment(std::vector<TrackFormat> tracks) {
    if (inSegment_)
        return Failure{FailureKind::badArgument, path() + ": is being recorded already"};
    if (!storage_) {
        auto storage = moviefile::FileStorage::createOrEmpty(path_);
        if (!storage)
            return storage.failure();
        storage_ = *std::move(storage);
    }
    segmentStart_ = movie_.duration();
    segment_.clear();
    for (TrackFormat& format : tracks) {
        timeline::Track& track = trackFor(format);
        segment_.push_back(
            {.track = &track, .format = std::move(format), .mediaStart = track.media->duration()});
    }
    inSegment_ = true;
    pendingBytes_ = 0;
    headerWritten_ = endOffset_ == 0;
    // A file that holds a movie already stays that movie until there is something to add.
    return headerWritten_ ? writeFirstHeader() : Status();
}

/// The movie atom with the note that fragments follow it.
Expected<std::vector<std::byte>> GrowingMovie::headerOfFragments() const {
    auto atom = moviefile::writeMovieAtom(movie_);
    if (!atom)
        return atom;
    std::vector<std::byte> extends;
    AtomSink sink(extends);
    {
        const AtomScope scope = sink.open(fourCharCode("mvex"));
        for (const auto& track : movie_.tracks)
            sink.put(moviefile::TrackExtendsAtom{.trackID = track->id});
    }
    atom->insert(atom->end(), extends.begin(), extends.end());
    moviefile::storeBigEndian(atom->data(), static_cast<std::uint32_t>(atom->size()));
    return atom;
}

Status GrowingMovie::writeFirstHeader() {
    auto atom = headerOfFragments();
    if (!atom)
        return atom.failure();
    std::vector<std::byte> bytes;
    AtomSink sink(bytes);
    sink.put(FileTypeAtom());
    sink.bytes(*atom);
    if (Status written = storage_->write(0, bytes); !written)
        return written;
    endOffset_ = bytes.size();
    return {};
}

/// The movie that the file held so far, in the form that fragments may follow: each track's last
/// edit, of no duration, lasts as long as there are samples.
Status GrowingMovie::writeLaterHeader() {
    std::vector<timeline::EditList> former;
    for (const SegmentTrack& each : segment_) {
        timeline::EditList& list = each.track->edits;
        former.push_back(list);
        std::vector<timeline::Edit> edits(list.edits().begin(), list.edits().end());
        const std::int64_t start = segmentStart_ + inMovie(each, each.startOffset);
        if (start > list.duration())
            edits.push_back({start - list.duration(), timeline::kEmptyMediaTime});
        edits.push_back({0, each.mediaStart});
        list = timeline::EditList(std::move(edits));
    }
    auto atom = headerOfFragments();
    for (std::size_t i = 0; i < segment_.size(); ++i)
        segment_[i].track->edits = former[i];
    if (!atom)
        return atom.failure();
    if (auto placed = moviefile::replaceMovieAtom(*storage_, {.movieAtom = *atom}); !placed)
        return placed.failure();
    auto size = storage_->sizeInBytes();
    if (!size)
        return size.failure();
    endOffset_ = *size;
    headerWritten_ = true;
    return {};
}

Status GrowingMovie::add(std::size_t track, const BlockTimes& times,
                         std::span<const std::byte> data) {
    if (!inSegment_ || track >= segment_.size())
        return Failure{FailureKind::badArgument, path() + ": has no such track"};
    SegmentTrack& each = segment_[track];
    if (!each.started) {
        each.started = true;
        each.startOffset = std::max<std::int64_t>(times.start, 0);
    }
    each.pending.push_back({times, static_cast<std::uint32_t>(data.size())});
    each.data.insert(each.data.end(), data.begin(), data.end());
    each.pendingDuration += times.duration;
    pendingBytes_ += data.size();
    return isFragmentDue() ? writeFragment() : Status();
}

bool GrowingMovie::isFragmentDue() const {
    return pendingBytes_ >= kMostPendingBytes ||
           std::any_of(segment_.begin(), segment_.end(), [](const SegmentTrack& track) {
               return static_cast<double>(track.pendingDuration) >=
                      kSecondsPerFragment * track.format.timeScale;
           });
}

/// Media data, and behind them the fragment that makes them part of the movie.
/// @param offset  at which the bytes will lie in the file
std::vector<std::byte> GrowingMovie::fragmentBytes(std::uint64_t offset) {
    std::vector<std::byte> bytes;
    bytes.reserve(pendingBytes_ + 4096);
    AtomSink sink(bytes);
    {
        const AtomScope data = sink.open(moviefile::typeMediaData);
        for (const SegmentTrack& track : segment_)
            sink.bytes(track.data);
    }
    {
        const AtomScope fragment = sink.open(moviefile::typeMovieFragment);
        putFragment(sink, offset + 8);
    }
    return bytes;
}

void GrowingMovie::putFragment(AtomSink& sink, std::uint64_t dataOffset) {
    using moviefile::TrackFragmentHeaderAtom;
    using moviefile::TrackRunAtom;
    sink.put(moviefile::FragmentHeaderAtom{.sequenceNumber = ++fragments_});
    for (const SegmentTrack& track : segment_) {
        if (track.pending.empty())
            continue;
        const AtomScope trackFragment = sink.open(fourCharCode("traf"));
        sink.put(TrackFragmentHeaderAtom{.flags = TrackFragmentHeaderAtom::kHasBaseOffset |
                                                  TrackFragmentHeaderAtom::kHasDescriptionIndex,
                                         .trackID = track.track->id,
                                         .baseOffset = dataOffset,
                                         .descriptionIndex = track.descriptionIndex});
        // The first segment's media begin late where their tracks do; later ones have edits.
        const std::int64_t gap = segmentStart_ == 0 ? track.startOffset : 0;
        sink.put(moviefile::TrackFragmentTimeAtom{
            .version = 1,
            .decodeTime = static_cast<std::uint64_t>(gap + track.media().duration())});
        std::vector<std::byte> rows;
        moviefile::FieldWriter row(rows);
        for (const SegmentTrack::Block& block : track.pending) {
            row.field("duration", block.times.duration);
            row.field("size", block.sizeInBytes);
            row.field("flags", block.times.sync ? 0u : moviefile::kSampleIsNotSync);
        }
        sink.put(
            TrackRunAtom{.flags = TrackRunAtom::kHasDataOffset | TrackRunAtom::kRowsHaveDuration |
                                  TrackRunAtom::kRowsHaveSize | TrackRunAtom::kRowsHaveFlags,
                         .count = static_cast<std::uint32_t>(track.pending.size())},
            timeline::SharedBytes::adopt(std::move(rows)));
        dataOffset += track.data.size();
    }
}

/// Enters the pending blocks into the sample tables.
Status GrowingMovie::adoptBlocks(std::uint64_t dataOffset) {
    for (SegmentTrack& track : segment_) {
        for (const SegmentTrack::Block& block : track.pending) {
            timeline::NewSamples samples;
            samples.offset = dataOffset;
            samples.descriptionIndex = track.descriptionIndex;
            samples.sync = block.times.sync;
            if (const std::uint32_t size = track.format.bytesPerUnit; size > 0) {
                samples.sizeInBytes = size;
                samples.count = block.sizeInBytes / size;
                samples.duration = 1;
            } else {
                samples.sizeInBytes = block.sizeInBytes;
                samples.duration = block.times.duration;
            }
            if (Status appended = track.media().samples.append(samples); !appended)
                return appended;
            dataOffset += block.sizeInBytes;
        }
        track.media().storedDuration = -1;
        track.pending.clear();
        track.data.clear();
        track.pendingDuration = 0;
    }
    pendingBytes_ = 0;
    return {};
}

Status GrowingMovie::writeFragment() {
    if (pendingBytes_ == 0)
        return {};
    if (!headerWritten_) {
        if (Status header = writeLaterHeader(); !header)
            return header;
    }
    const std::vector<std::byte> bytes = fragmentBytes(endOffset_);
    if (Status written = storage_->write(endOffset_, bytes); !written) {
        // Half a fragment behind the movie would stand in the way of its last update. What the
        // write gave as its reason is what the caller has to hear.
        static_cast<void>(storage_->truncate(endOffset_).ok());
        return written;
    }
    storage_->beginWriteBack(endOffset_, bytes.size());
    const std::uint64_t dataOffset = endOffset_ + 8;
    endOffset_ += bytes.size();
    return adoptBlocks(dataOffset);
}

Status GrowingMovie::endSegment() {
    if (!inSegment_)
        return {};
    Status status = writeFragment();
    inSegment_ = false;
    for (const SegmentTrack& each : segment_) {
        const std::int64_t recorded = each.media().duration() - each.mediaStart;
        if (recorded <= 0)
            continue;
        const Status inserted = timeline::insertMedia(
            movie_, *each.track, segmentStart_ + inMovie(each, each.startOffset), each.mediaStart,
            recorded);
        if (status)
            status = inserted;
    }
    movie_.modificationTime = secondsSince1904();
    auto atom = moviefile::writeMovieAtom(movie_);
    if (!atom)
        return status ? Status(atom.failure()) : status;
    auto placed =
        moviefile::replaceMovieAtom(*storage_, {.movieAtom = *atom, .retireFragments = true});
    if (!placed)
        return status ? Status(placed.failure()) : status;
    auto size = storage_->sizeInBytes();
    if (!size)
        return status ? Status(size.failure()) : status;
    endOffset_ = *size;
    struct stat info {};
    if (fstat(storage_->fileDescriptor(), &info) == 0)
        mark_ = std::make_unique<FileMark>(FileMark::of(info));
    return status;
}

}  // namespace TWQuickTime::capture
