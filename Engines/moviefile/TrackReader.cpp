// Reading 'trak'.
#include <cstdlib>

#include "Engines/moviefile/FirstOfType.h"
#include "Engines/moviefile/HeaderAtoms.h"
#include "Engines/moviefile/InputMapAtom.h"
#include "Engines/moviefile/Origins.h"
#include "Engines/moviefile/ReadContext.h"
#include "Engines/moviefile/TrackAtoms.h"
#include "Engines/moviefile/UserDataAtoms.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Status;
using timeline::Edit;
using timeline::EditList;
using timeline::Track;

namespace {

/// What the children of 'trak' say besides what Track holds.
struct Findings {
    std::int64_t statedDuration = -1;
    SharedBytes inputMap;
    bool hasHeader = false;
    FirstOfType isFirst;
};

Status readHeader(const AtomView& atom, const AtomPlace& parent, Track& track, Findings& findings) {
    const AtomPlace place{&parent, atom.type};
    const auto header = readFields<TrackHeaderAtom>(atom, place);
    if (!header)
        return header.failure();
    const TrackHeaderAtom& fields = header->atom;
    track.id = fields.trackID;
    track.flags = fields.flags;
    track.creationTime = fields.creationTime;
    track.modificationTime = fields.modificationTime;
    track.layer = fields.layer;
    track.alternateGroup = fields.alternateGroup;
    track.volume = fields.volume;
    track.matrix = fields.matrix;
    track.dimensions = {fields.width, fields.height};
    findings.statedDuration = statedDuration(fields.version, fields.duration).value_or(-1);
    findings.hasHeader = true;
    return {};
}

Status readChild(const AtomView& child, const AtomPlace& place, ReadContext& context, Track& track,
                 Findings& findings) {
    const AtomPlace childPlace{&place, child.type};
    switch (child.type) {
        case TrackHeaderAtom::type:
            return findings.hasHeader ? Status() : readHeader(child, place, track, findings);
        case fourCharCode("edts"): {
            if (!findings.isFirst(child.type))
                return {};
            auto edits = readEdits(child, childPlace, context);
            if (!edits)
                return edits.failure();
            track.edits = std::move(*edits);
            return {};
        }
        case fourCharCode("mdia"): {
            if (track.media)
                return {};
            auto media = readMedia(child, childPlace, context);
            if (!media)
                return media.failure();
            track.media = std::move(*media);
            return {};
        }
        case fourCharCode("tref"):
            if (findings.isFirst(child.type))
                track.references = readTrackReferences(child, context.itemsLeft);
            return {};
        case PreloadAtom::type:
            if (!findings.isFirst(child.type))
                return {};
            if (const auto preload = readFields<PreloadAtom>(child, childPlace))
                track.preload = timeline::Preload{preload->atom.startTime, preload->atom.duration,
                                                  preload->atom.flags, preload->atom.hints};
            return {};
        case fourCharCode("tapt"):
            if (findings.isFirst(child.type))
                track.aperture = readApertureDimensions(child);
            return {};
        case fourCharCode("udta"):
            if (findings.isFirst(child.type))
                track.userData = readUserData(child, context.itemsLeft);
            return {};
        case fourCharCode("imap"):
            if (findings.isFirst(child.type))
                findings.inputMap = inputMapContainer(child.payload());
            return {};
        default:
            return {};
    }
}

}  // namespace

/// Without an edit list the whole media is shown from the track's start on. A header that gives the
/// sum of the samples' durations means the whole too, though composition offsets show it later.
EditList impliedEditList(const Track& track, std::int64_t statedDuration,
                         std::uint32_t movieScale) {
    if (!track.media)
        return {};
    const timeline::Media& media = *track.media;
    const auto inMovie = [&](std::int64_t mediaDuration) {
        return timeline::rescale(mediaDuration, media.timeScale, movieScale);
    };
    const std::int64_t sum = media.duration();
    const std::int64_t late = media.samples.displayEnd() - media.samples.duration();
    // Some programs round durations down, others up.
    const auto statesSum = [&] { return std::abs(statedDuration - inMovie(sum)) <= 1; };
    const bool believed = statedDuration > 0 && !(late > 0 && statesSum());
    const std::int64_t shown =
        believed ? statedDuration : inMovie(timeline::addSaturating(sum, late));
    if (shown <= 0)
        return {};
    return EditList({Edit{shown, 0, timeline::kFixedOne}});
}

Expected<EditList> readEdits(const AtomView& atom, const AtomPlace& place, ReadContext& context) {
    const auto list = findChild(atom, EditListAtom::type);
    if (!list)
        return EditList();
    const AtomPlace listPlace{&place, list->type};
    constexpr std::size_t kListHeadInBytes = 8;
    const std::size_t rows = list->payload().size() / EditListAtom::bytesPerEntry(0);
    if (rows > context.editsLeft)
        return spend(context.editsLeft, rows, listPlace, list->offset).failure();
    if (list->payload().size() < kListHeadInBytes)
        return missingBytesAt(listPlace, list->offset, kListHeadInBytes - list->payload().size(),
                              "entries");
    const auto fields = readFields<EditListAtom>(*list, listPlace);
    if (!fields)
        return fields.failure();
    context.editsLeft -= fields->atom.entries.size();
    std::vector<Edit> edits;
    edits.reserve(fields->atom.entries.size());
    for (const EditListAtom::Entry& entry : fields->atom.entries) {
        if (entry.duration > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return damagedAt(listPlace, list->offset, "an edit longer than time can count");
        edits.push_back({static_cast<std::int64_t>(entry.duration), entry.mediaTime, entry.rate});
    }
    return EditList(std::move(edits));
}

Expected<std::unique_ptr<Track>> readTrack(const AtomView& atom, const AtomPlace& place,
                                           ReadContext& context) {
    auto track = std::make_unique<Track>();
    Findings findings;
    AtomWalker walker(atom.payload(), atom.payloadOffset());
    while (const auto child = walker.next()) {
        if (const Status read = readChild(*child, place, context, *track, findings); !read)
            return read.failure();
    }
    if (walker.damaged())
        return damagedChild(place, walker);
    if (!findings.hasHeader)
        return damagedAt(place, atom.offset, "no header ('tkhd')");

    auto origin = std::make_shared<TrackOrigin>();
    origin->atom = atom;
    origin->movieScaleWhenRead = context.movieScale;
    if (track->edits.empty()) {
        track->edits = impliedEditList(*track, findings.statedDuration, context.movieScale);
        origin->readAs = track->edits;
    }
    if (track->media && track->media->inputMap.empty() && !findings.inputMap.empty()) {
        track->media->inputMap = findings.inputMap;
        origin->inputMapInTrack = findings.inputMap;
    }
    origin->durationWhenRead = track->duration();
    track->origin = std::move(origin);
    return track;
}

}  // namespace TWQuickTime::moviefile
