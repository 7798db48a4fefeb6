// Writing 'trak'.
#include <limits>

#include "Engines/moviefile/HeaderAtoms.h"
#include "Engines/moviefile/InputMapAtom.h"
#include "Engines/moviefile/TrackAtoms.h"
#include "Engines/moviefile/UserDataAtoms.h"
#include "Engines/moviefile/WriteContext.h"

namespace TWQuickTime::moviefile {

using timeline::Track;

namespace {

void writeHeader(WriteContext& context, const Track& track, const TrackOrigin* origin,
                 const AtomView* original) {
    putChanged<TrackHeaderAtom>(context.sink, original, [&](TrackHeaderAtom& atom) {
        atom.flags = track.flags;
        atom.creationTime = track.creationTime;
        atom.modificationTime = track.modificationTime;
        atom.trackID = track.id;
        if (!original || origin->movieScaleWhenRead != context.movie.timeScale ||
            context.folds(origin->fragmented) || track.duration() != origin->durationWhenRead)
            atom.duration = static_cast<std::uint64_t>(track.duration());
        atom.layer = track.layer;
        atom.alternateGroup = track.alternateGroup;
        atom.volume = track.volume;
        atom.matrix = track.matrix;
        atom.width = track.dimensions.width;
        atom.height = track.dimensions.height;
        atom.version =
            versionFor(atom.version, atom.creationTime, atom.modificationTime, atom.duration);
    });
}

/// Whether the edits are still those that the file implies without stating them.
bool areAsRead(const WriteContext& context, const Track& track, const TrackOrigin& origin) {
    if (!origin.readAs)
        return false;
    timeline::EditList asRead = *origin.readAs;
    if (origin.movieScaleWhenRead != context.movie.timeScale)
        asRead.rescaleDurations(origin.movieScaleWhenRead, context.movie.timeScale);
    return track.edits == asRead;
}

void writeEdits(WriteContext& context, const Track& track, const TrackOrigin* origin,
                const AtomView* original) {
    if (origin && areAsRead(context, track, *origin)) {
        // A list that lasts "to the end of the fragments" needs its length once they are folded.
        const bool openEnded = original && context.folds(origin->fragmented);
        if (!openEnded) {
            if (original)
                context.sink.bytes(original->bytes);
            return;
        }
    }
    if (track.edits.empty() && !original)
        return;
    const auto writeList = [&](const AtomView* list) {
        putChanged<EditListAtom>(context.sink, list, [&](EditListAtom& atom) {
            const EditListAtom changed = editListAtom(track.edits, atom.version);
            atom.version = changed.version;
            atom.entries = changed.entries;
        });
    };
    const AtomScope scope =
        context.sink.open(fourCharCode("edts"), original ? original->headerSizeInBytes : 8);
    Merge().child(EditListAtom::type, writeList).write(context.sink, original);
}

void writePreload(WriteContext& context, const Track& track, const AtomView* original) {
    if (!track.preload) {
        const bool wasUnreadable =
            original && !readFields<PreloadAtom>(*original, {nullptr, original->type});
        if (wasUnreadable)
            context.sink.bytes(original->bytes);
        return;
    }
    putChanged<PreloadAtom>(context.sink, original, [&](PreloadAtom& atom) {
        atom.startTime = track.preload->startTime;
        atom.duration = track.preload->duration;
        atom.flags = track.preload->flags;
        atom.hints = track.preload->hints;
    });
}

void writeReferences(WriteContext& context, const Track& track, const AtomView* original) {
    std::size_t unlimited = std::numeric_limits<std::size_t>::max();
    if (original && readTrackReferences(*original, unlimited) == track.references) {
        context.sink.bytes(original->bytes);
        return;
    }
    const std::vector<std::byte> payload = trackReferencesPayload(track.references, original);
    if (!payload.empty())
        putPayload(context.sink, original, fourCharCode("tref"), payload);
}

void writeAperture(WriteContext& context, const Track& track, const AtomView* original) {
    if (original && readApertureDimensions(*original) == track.aperture) {
        context.sink.bytes(original->bytes);
        return;
    }
    const std::vector<std::byte> payload = apertureDimensionsPayload(track.aperture, original);
    if (!payload.empty())
        putPayload(context.sink, original, fourCharCode("tapt"), payload);
}

}  // namespace

bool holdsInputMap(const Track& track) {
    const auto* origin = dynamic_cast<const TrackOrigin*>(track.origin.get());
    return origin && track.media && !origin->inputMapInTrack.empty() &&
           track.media->inputMap == origin->inputMapInTrack;
}

void writeTrack(WriteContext& context, const Track& track, const AtomView* original) {
    const auto* origin = dynamic_cast<const TrackOrigin*>(track.origin.get());
    const AtomScope scope =
        context.sink.open(fourCharCode("trak"), original ? original->headerSizeInBytes : 8);
    constexpr FourCharCode kMedia = fourCharCode("mdia");
    constexpr FourCharCode kEdits = fourCharCode("edts");
    Merge()
        .child(TrackHeaderAtom::type,
               [&](const AtomView* atom) { writeHeader(context, track, origin, atom); })
        .child(fourCharCode("tapt"),
               [&](const AtomView* atom) { writeAperture(context, track, atom); })
        .before({kEdits, kMedia})
        .child(kEdits, [&](const AtomView* atom) { writeEdits(context, track, origin, atom); })
        .before({kMedia})
        .child(fourCharCode("tref"),
               [&](const AtomView* atom) { writeReferences(context, track, atom); })
        .before({kMedia})
        .child(PreloadAtom::type, [&](const AtomView* atom) { writePreload(context, track, atom); })
        .before({kMedia})
        .child(fourCharCode("imap"),
               [&](const AtomView* atom) {
                   // Read from here, the map stays here while it is the same; see writeMedia.
                   const bool isTheMap = origin && !origin->inputMapInTrack.empty();
                   if (atom && (!isTheMap || holdsInputMap(track)))
                       context.sink.bytes(atom->bytes);
               })
        .child(kMedia,
               [&](const AtomView*) {
                   if (track.media)
                       writeMedia(context, track);
               })
        .child(fourCharCode("udta"),
               [&](const AtomView* atom) { writeUserDataAtom(context.sink, track.userData, atom); })
        .write(context.sink, original);
}

}  // namespace TWQuickTime::moviefile
