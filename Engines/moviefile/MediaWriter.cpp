// Writing 'mdia'.
#include <algorithm>

#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/HeaderAtoms.h"
#include "Engines/moviefile/InputMapAtom.h"
#include "Engines/moviefile/MediaInformationAtoms.h"
#include "Engines/moviefile/UserDataAtoms.h"
#include "Engines/moviefile/WriteContext.h"

namespace TWQuickTime::moviefile {

using timeline::DataReference;
using timeline::Media;

namespace {

constexpr FourCharCode kVideo = fourCharCode("vide");
constexpr FourCharCode kSound = fourCharCode("soun");
constexpr FourCharCode kTimecode = fourCharCode("tmcd");
constexpr FourCharCode kText = fourCharCode("text");
constexpr FourCharCode kBaseHeader = fourCharCode("gmhd");
// A list of data references: version and flags, the count, then the entries.
constexpr std::size_t kReferenceCountOffset = 4;
constexpr std::size_t kReferenceListHeadInBytes = 8;

void writeHeader(WriteContext& context, const Media& media, const MediaOrigin* origin,
                 const AtomView* original) {
    putChanged<MediaHeaderAtom>(context.sink, original, [&](MediaHeaderAtom& atom) {
        atom.creationTime = media.creationTime;
        atom.modificationTime = media.modificationTime;
        atom.timeScale = media.timeScale;
        if (!original || context.folds(origin->fragmented) ||
            media.duration() != origin->durationWhenRead)
            atom.duration = static_cast<std::uint64_t>(media.duration());
        atom.language = media.language;
        atom.quality = media.quality;
        atom.version =
            versionFor(atom.version, atom.creationTime, atom.modificationTime, atom.duration);
    });
}

void writeHandler(WriteContext& context, const Media& media, const AtomView* original) {
    putChanged<HandlerAtom>(context.sink, original, [&](HandlerAtom& atom) {
        atom.componentType = media.handler.componentType;
        atom.componentSubtype = media.handler.subtype;
        atom.manufacturer = media.handler.manufacturer;
        atom.componentFlags = media.handler.flags;
        atom.componentFlagsMask = media.handler.flagsMask;
        atom.name = media.handler.name;
    });
}

void writeVideoHeader(WriteContext& context, const Media& media, const AtomView* original) {
    putChanged<VideoMediaHeaderAtom>(context.sink, original, [&](VideoMediaHeaderAtom& atom) {
        atom.graphicsMode = media.graphicsMode;
        atom.opColor = media.opColor;
    });
}

void writeSoundHeader(WriteContext& context, const Media& media, const AtomView* original) {
    putChanged<SoundMediaHeaderAtom>(
        context.sink, original, [&](SoundMediaHeaderAtom& atom) { atom.balance = media.balance; });
}

/// What follows 'gmin' in the header of a media of this type.
void writeTypeInformation(WriteContext& context, const Media& media) {
    if (media.type() == kTimecode) {
        const AtomScope scope = context.sink.open(kTimecode);
        context.sink.put(TimecodeMediaInformationAtom());
    } else if (media.type() == kText) {
        const AtomScope scope = context.sink.open(kText);
        for (const std::int32_t value : timeline::kIdentityMatrix) {
            std::array<std::byte, 4> bytes;
            storeBigEndian(bytes.data(), value);
            context.sink.bytes(bytes);
        }
    }
}

void writeBaseHeader(WriteContext& context, const Media& media, const AtomView* original) {
    const AtomScope scope =
        context.sink.open(kBaseHeader, original ? original->headerSizeInBytes : 8);
    const auto writeInformation = [&](const AtomView* atom) {
        if (original && !atom)
            return;
        putChanged<BaseMediaInformationAtom>(context.sink, atom,
                                             [&](BaseMediaInformationAtom& information) {
                                                 information.graphicsMode = media.graphicsMode;
                                                 information.opColor = media.opColor;
                                                 information.balance = media.balance;
                                             });
    };
    Merge().child(BaseMediaInformationAtom::type, writeInformation).write(context.sink, original);
    if (!original)
        writeTypeInformation(context, media);
}

void writeNewCombination(WriteContext& context, const Media& media) {
    if (media.type() == kVideo)
        writeVideoHeader(context, media, nullptr);
    else if (media.type() == kSound)
        writeSoundHeader(context, media, nullptr);
    else
        writeBaseHeader(context, media, nullptr);
}

void writeDataHandler(WriteContext& context, const Media& media) {
    HandlerAtom atom;
    atom.componentType = fourCharCode("dhlr");
    atom.componentSubtype =
        media.dataReferences.empty() ? fourCharCode("url ") : media.dataReferences.front().type;
    context.sink.put(atom);
}

void writeReference(AtomSink& sink, const DataReference& reference) {
    const AtomScope scope = sink.open(reference.type);
    FullAtomHead head;
    head.flags = reference.flags;
    sink.fields(head);
    sink.bytes(reference.data);
}

bool isSameReference(const AtomView& entry, const DataReference& reference) {
    const auto fields = readFields<FullAtomHead>(entry, {nullptr, entry.type});
    return fields && entry.type == reference.type && fields->atom.flags == reference.flags &&
           fields->rest == reference.data;
}

bool listsTheSame(const SharedBytes& list, const std::vector<DataReference>& references) {
    if (list.size() < kReferenceListHeadInBytes ||
        loadBigEndian<std::uint32_t>(list.data() + kReferenceCountOffset) != references.size())
        return false;
    AtomWalker walker(list.part(kReferenceListHeadInBytes), 0);
    return std::all_of(references.begin(), references.end(), [&](const DataReference& reference) {
        const auto entry = walker.next();
        return entry && isSameReference(*entry, reference);
    });
}

/// 'dref': entries that are still the same go out as they came in, and so does a list of which
/// nothing changed, whatever follows its entries.
void writeDataReferences(WriteContext& context, const Media& media, const AtomView* original) {
    std::vector<DataReference> references = media.dataReferences;
    if (context.options.mapDataReference) {
        for (DataReference& reference : references)
            reference = context.options.mapDataReference(reference);
    }
    if (original && listsTheSame(original->payload(), references)) {
        context.sink.bytes(original->bytes);
        return;
    }
    if (references.empty())
        references.push_back(makeSelfReference());
    std::vector<std::byte> payload;
    AtomSink sink(payload);
    if (original && original->payload().size() >= kReferenceListHeadInBytes)
        sink.bytes(original->payload().part(0, kReferenceCountOffset));
    else
        sink.fields(FullAtomHead());
    std::array<std::byte, 4> count;
    storeBigEndian(count.data(), static_cast<std::uint32_t>(references.size()));
    sink.bytes(count);
    AtomWalker walker(
        original ? original->payload().part(kReferenceListHeadInBytes) : SharedBytes(), 0);
    for (const DataReference& reference : references) {
        const auto entry = walker.next();
        if (entry && isSameReference(*entry, reference))
            sink.bytes(entry->bytes);
        else
            writeReference(sink, reference);
    }
    while (walker.next()) {
    }
    sink.bytes(walker.stray());
    putPayload(context.sink, original, fourCharCode("dref"), payload);
}

void writeDataInformation(WriteContext& context, const Media& media, const AtomView* original) {
    const AtomScope scope =
        context.sink.open(fourCharCode("dinf"), original ? original->headerSizeInBytes : 8);
    Merge()
        .child(fourCharCode("dref"),
               [&](const AtomView* atom) {
                   if (atom || !original || !media.dataReferences.empty())
                       writeDataReferences(context, media, atom);
               })
        .write(context.sink, original);
}

/// Whether there is something to write into a sample table that the file did not have.
bool holdsSamples(const WriteContext& context, const Media& media) {
    if (keepsTablesOf(context, media))
        return false;
    return media.samples.sampleCount() != 0 || !media.descriptions.empty() ||
           media.samples.changed();
}

/// Whether a header of media information can be read; the first one that can is the media's.
bool statesCombination(const AtomView& atom) {
    const AtomPlace place{nullptr, atom.type};
    if (atom.type == VideoMediaHeaderAtom::type)
        return readFields<VideoMediaHeaderAtom>(atom, place).ok();
    if (atom.type == SoundMediaHeaderAtom::type)
        return readFields<SoundMediaHeaderAtom>(atom, place).ok();
    const auto base = findChild(atom, BaseMediaInformationAtom::type);
    return base && readFields<BaseMediaInformationAtom>(*base, place).ok();
}

void writeInformation(WriteContext& context, const Media& media, const AtomView* original) {
    const AtomScope scope =
        context.sink.open(fourCharCode("minf"), original ? original->headerSizeInBytes : 8);
    if (!original) {
        writeNewCombination(context, media);
        writeDataHandler(context, media);
    }
    bool hasCombination = false;
    const auto onlyOwn = [&](auto write) {
        return [&, write](const AtomView* atom) {
            if (!atom)
                return;
            if (hasCombination || !statesCombination(*atom)) {
                context.sink.bytes(atom->bytes);
                return;
            }
            hasCombination = true;
            write(context, media, atom);
        };
    };
    Merge()
        .child(VideoMediaHeaderAtom::type, onlyOwn(writeVideoHeader))
        .child(SoundMediaHeaderAtom::type, onlyOwn(writeSoundHeader))
        .child(kBaseHeader, onlyOwn(writeBaseHeader))
        .child(fourCharCode("dinf"),
               [&](const AtomView* atom) {
                   if (atom || !original || !media.dataReferences.empty())
                       writeDataInformation(context, media, atom);
               })
        .before({fourCharCode("stbl")})
        .child(fourCharCode("stbl"),
               [&](const AtomView* atom) {
                   if (atom || !original || holdsSamples(context, media))
                       writeSampleTable(context, media, atom);
               })
        .write(context.sink, original);
}

void writeInputMap(WriteContext& context, const timeline::Track& track, const AtomView* original) {
    const SharedBytes& map = track.media->inputMap;
    if (original && inputMapContainer(original->payload()) == map) {
        context.sink.bytes(original->bytes);
    } else if (!map.empty() && !holdsInputMap(track)) {
        const AtomScope scope = context.sink.open(fourCharCode("imap"));
        context.sink.bytes(map);
    }
}

}  // namespace

void writeMedia(WriteContext& context, const timeline::Track& track) {
    const Media& media = *track.media;
    const auto* origin = dynamic_cast<const MediaOrigin*>(media.origin.get());
    const AtomView* original = origin ? &origin->atom : nullptr;
    const AtomScope scope =
        context.sink.open(fourCharCode("mdia"), original ? original->headerSizeInBytes : 8);
    Merge()
        .child(MediaHeaderAtom::type,
               [&](const AtomView* atom) { writeHeader(context, media, origin, atom); })
        .child(HandlerAtom::type, [&](const AtomView* atom) { writeHandler(context, media, atom); })
        .child(fourCharCode("minf"),
               [&](const AtomView* atom) {
                   if (atom || !original || holdsSamples(context, media) ||
                       !media.dataReferences.empty())
                       writeInformation(context, media, atom);
               })
        .child(fourCharCode("imap"),
               [&](const AtomView* atom) { writeInputMap(context, track, atom); })
        .child(fourCharCode("udta"),
               [&](const AtomView* atom) { writeUserDataAtom(context.sink, media.userData, atom); })
        .write(context.sink, original);
}

}  // namespace TWQuickTime::moviefile
