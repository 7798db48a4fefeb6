#include "Engines/moviefile/FragmentReader.h"

#include <algorithm>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/FragmentAtoms.h"
#include "Engines/moviefile/Origins.h"
#include "Engines/moviefile/OuterAtoms.h"
#include "Engines/moviefile/ReadContext.h"
#include "Engines/moviefile/StorageSampleStore.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Status;
using timeline::NewSamples;
using timeline::SampleTable;
using timeline::Track;

namespace {

/// Samples that take no bytes in any table can be claimed for nothing; so many are believed as
/// long as they are not all alike. The first one of a run is paid for by the run.
constexpr std::uint64_t kGreatestUnlistedSamples = 1u << 18;

/// A track while fragments are read: its table, and the last sample, whose duration is known for
/// certain only when the next fragment tells its own start.
class GrowingTrack {
  public:
    GrowingTrack(Track& track, const TrackExtendsAtom& defaults)
        : track_(track), defaults_(defaults), table_(track.media->samples) {
        end_ = table_.duration();
        alike_ = table_.allSync() && !table_.hasCompositionOffsets() &&
                 table_.columns().sizes.rows().empty();
        sizeOfEach_ = table_.columns().sizes.commonSize();
        empty_ = table_.sampleCount() == 0;
    }

    const TrackExtendsAtom& defaults() const { return defaults_; }
    Track& track() { return track_; }
    bool hasGrown() const { return grown_; }
    std::int64_t startGap() const { return startGap_; }

    /// The next sample is decoded at this time.
    void startAt(std::int64_t decodeTime) {
        const std::int64_t gap =
            timeline::subtractSaturating(timeline::subtractSaturating(decodeTime, end_), startGap_);
        if (pending_) {
            const std::int64_t duration = timeline::addSaturating(pending_->duration, gap);
            if (duration < 0 || duration > std::numeric_limits<std::uint32_t>::max())
                return;
            pending_->duration = static_cast<std::uint32_t>(duration);
            end_ += gap;
        } else if (table_.sampleCount() == 0 && gap > 0) {
            startGap_ = gap;
        }
    }

    Status add(const NewSamples& samples, bool listed, const AtomPlace& place,
               std::uint64_t offset) {
        if (!listed)
            unlisted_ += samples.count;
        alike_ = alike_ && samples.sync && samples.compositionOffset == 0 &&
                 (empty_ || samples.sizeInBytes == sizeOfEach_);
        empty_ = false;
        sizeOfEach_ = samples.sizeInBytes;
        if (unlisted_ > kGreatestUnlistedSamples && (!alike_ || sizeOfEach_ == 0)) {
            std::size_t none = 0;
            return spend(none, unlisted_, place, offset);
        }
        grown_ = true;
        if (const Status flushed = flush(); !flushed)
            return flushed;
        const std::int64_t span = timeline::multiplySaturating(samples.duration, samples.count);
        end_ = timeline::addSaturating(end_, span);
        NewSamples last = samples;
        if (samples.count > 1) {
            NewSamples first = samples;
            --first.count;
            if (const Status appended = table_.append(first); !appended)
                return appended;
            last.offset += std::uint64_t{samples.sizeInBytes} * first.count;
            last.count = 1;
        }
        pending_ = last;
        return {};
    }

    Status flush() {
        if (!pending_)
            return {};
        const Status appended = table_.append(*pending_);
        pending_.reset();
        return appended;
    }

    SampleTable& table() { return table_; }

  private:
    Track& track_;
    TrackExtendsAtom defaults_;
    SampleTable table_;
    std::optional<NewSamples> pending_;
    std::int64_t end_ = 0;
    std::int64_t startGap_ = 0;
    std::uint64_t unlisted_ = 0;
    std::uint32_t sizeOfEach_ = 0;
    bool alike_ = true;
    bool empty_ = true;
    bool grown_ = false;
};

/// One 'traf': where its data begin, and what holds for its samples.
struct TrackFragment {
    GrowingTrack& track;
    TrackFragmentHeaderAtom header;
    std::uint64_t baseOffset = 0;
    std::uint64_t nextOffset = 0;  ///< where the data of the next run begin unless it says

    std::uint32_t duration() const {
        return header.flags & TrackFragmentHeaderAtom::kHasDuration
                   ? header.sampleDuration
                   : track.defaults().sampleDuration;
    }
    std::uint32_t size() const {
        return header.flags & TrackFragmentHeaderAtom::kHasSize ? header.sampleSize
                                                                : track.defaults().sampleSize;
    }
    std::uint32_t flags() const {
        return header.flags & TrackFragmentHeaderAtom::kHasFlags ? header.sampleFlags
                                                                 : track.defaults().sampleFlags;
    }
    std::uint32_t descriptionIndex() const {
        const std::uint32_t index = header.flags & TrackFragmentHeaderAtom::kHasDescriptionIndex
                                        ? header.descriptionIndex
                                        : track.defaults().descriptionIndex;
        return std::max(1u, index);
    }
};

Status readRun(const AtomView& atom, const AtomPlace& place, TrackFragment& fragment) {
    const auto run = readFields<TrackRunAtom>(atom, place);
    if (!run)
        return run.failure();
    const TrackRunAtom& fields = run->atom;
    const std::size_t bytesPerRow = fields.bytesPerRow();
    const std::uint64_t needed = std::uint64_t{fields.count} * bytesPerRow;
    if (needed > run->rest.size())
        return missingBytesAt(place, atom.offset, needed - run->rest.size(), "rows");
    if (fields.flags & TrackRunAtom::kHasDataOffset)
        fragment.nextOffset =
            fragment.baseOffset + static_cast<std::uint64_t>(std::int64_t{fields.dataOffset});
    NewSamples samples;
    samples.descriptionIndex = fragment.descriptionIndex();
    const std::uint32_t usualFlags = fragment.flags();
    const std::byte* row = run->rest.data();
    const auto nextOr = [&row](bool present, std::uint32_t value) {
        if (present) {
            value = loadBigEndian<std::uint32_t>(row);
            row += 4;
        }
        return value;
    };
    std::uint32_t left = fields.count;
    for (bool first = true; left != 0; first = false) {
        samples.offset = fragment.nextOffset;
        samples.duration =
            nextOr(fields.flags & TrackRunAtom::kRowsHaveDuration, fragment.duration());
        samples.sizeInBytes = nextOr(fields.flags & TrackRunAtom::kRowsHaveSize, fragment.size());
        std::uint32_t flags = nextOr(fields.flags & TrackRunAtom::kRowsHaveFlags, usualFlags);
        if (first && (fields.flags & TrackRunAtom::kHasFirstFlags))
            flags = fields.firstSampleFlags;
        samples.sync = (flags & kSampleIsNotSync) == 0;
        samples.compositionOffset = static_cast<std::int32_t>(
            nextOr(fields.flags & TrackRunAtom::kRowsHaveCompositionOffset, 0));
        // Without rows all samples after the first are equal.
        samples.count = bytesPerRow == 0 && !first ? left : 1;
        const bool listed = first || bytesPerRow != 0;
        if (const Status added = fragment.track.add(samples, listed, place, atom.offset); !added)
            return added;
        fragment.nextOffset += std::uint64_t{samples.sizeInBytes} * samples.count;
        left -= samples.count;
    }
    return {};
}

/// All tracks that fragments may speak of, by track ID.
class FragmentedMovie {
  public:
    FragmentedMovie(timeline::Movie& movie, const AtomView& extends) : movie_(movie) {
        AtomWalker walker(extends.payload(), extends.payloadOffset());
        while (const auto child = walker.next()) {
            if (child->type != TrackExtendsAtom::type)
                continue;
            const auto defaults = readFields<TrackExtendsAtom>(*child, {nullptr, child->type});
            Track* track = defaults ? movie.trackWithID(defaults->atom.trackID) : nullptr;
            if (track && track->media && !find(track->id))
                tracks_.emplace_back(*track, defaults->atom);
        }
    }

    Status readFragment(const AtomView& atom) {
        const AtomPlace place{nullptr, atom.type};
        std::uint64_t endOfPrevious = atom.offset;
        AtomWalker walker(atom.payload(), atom.payloadOffset());
        std::size_t number = 0;
        while (const auto child = walker.next()) {
            if (child->type != fourCharCode("traf"))
                continue;
            const AtomPlace childPlace{&place, child->type, ++number};
            if (const Status read =
                    readTrackFragment(*child, childPlace, atom.offset, endOfPrevious);
                !read)
                return read;
        }
        return walker.damaged() ? Status(damagedChild(place, walker)) : Status();
    }

    /// Puts the grown tables into the movie.
    Status finish() {
        for (GrowingTrack& growing : tracks_) {
            if (!growing.hasGrown())
                continue;
            if (const Status flushed = growing.flush(); !flushed)
                return flushed;
            adopt(growing);
        }
        auto origin =
            std::make_shared<MovieOrigin>(static_cast<const MovieOrigin&>(*movie_.origin));
        origin->fragmented = true;
        origin->durationWhenRead = movie_.duration();
        movie_.origin = std::move(origin);
        return {};
    }

  private:
    GrowingTrack* find(std::uint32_t trackID) {
        for (GrowingTrack& growing : tracks_) {
            if (growing.track().id == trackID)
                return &growing;
        }
        return nullptr;
    }

    Status readTrackFragment(const AtomView& atom, const AtomPlace& place,
                             std::uint64_t fragmentOffset, std::uint64_t& endOfPrevious) {
        const auto headerAtom = findChild(atom, TrackFragmentHeaderAtom::type);
        if (!headerAtom)
            return damagedAt(place, atom.offset, "no header ('tfhd')");
        const auto header =
            readFields<TrackFragmentHeaderAtom>(*headerAtom, {&place, headerAtom->type});
        if (!header)
            return header.failure();
        GrowingTrack* track = find(header->atom.trackID);
        if (!track)
            return {};
        TrackFragment fragment{*track, header->atom};
        if (header->atom.flags & TrackFragmentHeaderAtom::kHasBaseOffset)
            fragment.baseOffset = header->atom.baseOffset;
        else if (header->atom.flags & TrackFragmentHeaderAtom::kBaseIsFragment)
            fragment.baseOffset = fragmentOffset;
        else
            fragment.baseOffset = endOfPrevious;
        fragment.nextOffset = fragment.baseOffset;

        AtomWalker walker(atom.payload(), atom.payloadOffset());
        while (const auto child = walker.next()) {
            const AtomPlace childPlace{&place, child->type};
            if (child->type == TrackFragmentTimeAtom::type) {
                const auto time = readFields<TrackFragmentTimeAtom>(*child, childPlace);
                if (time && time->atom.decodeTime <= std::uint64_t{1} << 62)
                    track->startAt(static_cast<std::int64_t>(time->atom.decodeTime));
            } else if (child->type == TrackRunAtom::type) {
                if (const Status read = readRun(*child, childPlace, fragment); !read)
                    return read;
            }
        }
        endOfPrevious = fragment.nextOffset;
        return walker.damaged() ? Status(damagedChild(place, walker)) : Status();
    }

    void adopt(GrowingTrack& growing) {
        Track& track = growing.track();
        timeline::Media& media = *track.media;
        media.samples = growing.table();
        media.storedDuration = -1;
        auto mediaOrigin =
            std::make_shared<MediaOrigin>(static_cast<const MediaOrigin&>(*media.origin));
        mediaOrigin->fragmented = true;
        mediaOrigin->sampleCountWhenRead = media.samples.sampleCount();
        mediaOrigin->durationWhenRead = media.duration();
        media.origin = std::move(mediaOrigin);

        auto origin = std::make_shared<TrackOrigin>(static_cast<const TrackOrigin&>(*track.origin));
        origin->fragmented = true;
        track.edits = editsToTheEnd(track, origin->readAs.has_value(), growing.startGap());
        origin->readAs = track.edits;
        origin->durationWhenRead = track.duration();
        track.origin = std::move(origin);
    }

    /// The edits now that the media's end is known: an implied list shows all of it, and a last
    /// edit of no duration lasts to the end. What is shown last may not be what is decoded last.
    timeline::EditList editsToTheEnd(const Track& track, bool implied, std::int64_t startGap) {
        const timeline::Media& media = *track.media;
        const auto inMovie = [&](std::int64_t mediaDuration) {
            return timeline::rescale(mediaDuration, media.timeScale, movie_.timeScale);
        };
        std::vector<timeline::Edit> edits(track.edits.edits().begin(), track.edits.edits().end());
        if (implied) {
            edits.clear();
            if (const std::int64_t gap = inMovie(startGap); gap > 0)
                edits.push_back({gap, timeline::kEmptyMediaTime, timeline::kFixedOne});
            edits.push_back({inMovie(media.samples.displayEnd()), 0, timeline::kFixedOne});
        } else {
            for (timeline::Edit& edit : edits) {
                if (!edit.isEmpty())
                    edit.mediaTime = std::max<std::int64_t>(
                        0, timeline::subtractSaturating(edit.mediaTime, startGap));
            }
            timeline::Edit& last = edits.back();
            if (last.duration == 0 && !last.isEmpty())
                last.duration =
                    std::max<std::int64_t>(0, inMovie(timeline::subtractSaturating(
                                                  media.samples.displayEnd(), last.mediaTime)));
        }
        return timeline::EditList(std::move(edits));
    }

    timeline::Movie& movie_;
    std::vector<GrowingTrack> tracks_;
};

}  // namespace

Expected<bool> readFragments(const Storage& storage, timeline::Movie& movie) {
    const auto* origin = static_cast<const MovieOrigin*>(movie.origin.get());
    const auto extends = findChild(origin->atom, fourCharCode("mvex"));
    if (!extends)
        return false;
    FragmentedMovie fragmented(movie, *extends);
    OuterAtomWalker walker(storage);
    while (true) {
        const auto atom = walker.next();
        // What is damaged behind whole fragments does not cost those.
        if (!atom || !*atom)
            break;
        if ((*atom)->type != typeMovieFragment || !(*atom)->whole)
            continue;
        const auto bytes = viewRange(storage, (*atom)->offset, (*atom)->sizeInBytes);
        if (!bytes)
            return bytes.failure();
        const auto fragment = wholeAtom(*bytes, (*atom)->offset);
        if (!fragment)
            continue;
        if (const Status read = fragmented.readFragment(*fragment); !read)
            return read.failure();
    }
    if (const Status finished = fragmented.finish(); !finished)
        return finished.failure();
    return true;
}

}  // namespace TWQuickTime::moviefile
