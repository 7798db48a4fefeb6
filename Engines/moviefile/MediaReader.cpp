// Reading 'mdia'.
#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/FirstOfType.h"
#include "Engines/moviefile/HeaderAtoms.h"
#include "Engines/moviefile/InputMapAtom.h"
#include "Engines/moviefile/MediaInformationAtoms.h"
#include "Engines/moviefile/Origins.h"
#include "Engines/moviefile/ReadContext.h"
#include "Engines/moviefile/SoundPackets.h"
#include "Engines/moviefile/UserDataAtoms.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;
using timeline::DataReference;
using timeline::Media;
using timeline::SampleDescription;

namespace {

constexpr std::size_t kLeastReferenceInBytes = 12;

/// Reads the entry count of 'stsd' or 'dref'.
struct CountedListHead {
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint32_t count = 0;
    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("count", atom.count);
    }
};

std::shared_ptr<timeline::SampleStore> storeFor(const DataReference& reference,
                                                ReadContext& context) {
    if (reference.isSelf())
        return context.options.self;
    if (!context.options.resolveReferences)
        return nullptr;
    const std::string folder = context.options.self ? context.options.self->path() : std::string();
    const auto path = pathOfReference(reference, folder.substr(0, folder.rfind('/') + 1));
    if (!path)
        return nullptr;
    if (const auto known = context.stores.find(*path); known != context.stores.end())
        return known->second;
    if (context.stores.size() >= kGreatestOpenReferenceCount)
        return nullptr;
    auto opened = openDataReference(reference, context.options.self);
    return context.stores[*path] = opened ? *opened : nullptr;
}

Status readHeader(const AtomView& atom, const AtomPlace& parent, Media& media) {
    const AtomPlace place{&parent, atom.type};
    const auto header = readFields<MediaHeaderAtom>(atom, place);
    if (!header)
        return header.failure();
    const MediaHeaderAtom& fields = header->atom;
    if (fields.timeScale == 0)
        return damagedAt(place, atom.offset, "a time scale of 0");
    media.timeScale = fields.timeScale;
    media.creationTime = fields.creationTime;
    media.modificationTime = fields.modificationTime;
    media.language = fields.language;
    media.quality = fields.quality;
    media.storedDuration = statedDuration(fields.version, fields.duration).value_or(-1);
    return {};
}

Status readHandler(const AtomView& atom, const AtomPlace& parent, Media& media) {
    const AtomPlace place{&parent, atom.type};
    const auto handler = readFields<HandlerAtom>(atom, place);
    if (!handler)
        return handler.failure();
    const HandlerAtom& fields = handler->atom;
    media.handler = {fields.componentType,  fields.componentSubtype,   fields.manufacturer,
                     fields.componentFlags, fields.componentFlagsMask, fields.name};
    return {};
}

/// How the media combines with others; a damaged atom leaves the defaults.
/// False when the header cannot be read.
bool readCombination(const AtomView& atom, const AtomPlace& parent, Media& media) {
    const AtomPlace place{&parent, atom.type};
    if (atom.type == VideoMediaHeaderAtom::type) {
        const auto header = readFields<VideoMediaHeaderAtom>(atom, place);
        if (!header)
            return false;
        media.graphicsMode = header->atom.graphicsMode;
        media.opColor = header->atom.opColor;
    } else if (atom.type == SoundMediaHeaderAtom::type) {
        const auto header = readFields<SoundMediaHeaderAtom>(atom, place);
        if (!header)
            return false;
        media.balance = header->atom.balance;
    } else {
        const auto base = findChild(atom, BaseMediaInformationAtom::type);
        if (!base)
            return false;
        const auto header = readFields<BaseMediaInformationAtom>(*base, place);
        if (!header)
            return false;
        media.graphicsMode = header->atom.graphicsMode;
        media.opColor = header->atom.opColor;
        media.balance = header->atom.balance;
    }
    return true;
}

Status readSamples(const AtomView& atom, const AtomPlace& place, ReadContext& context,
                   Media& media) {
    auto table = readSampleTable(atom, place);
    if (!table)
        return table.failure();
    if (const auto list = findChild(atom, fourCharCode("stsd"))) {
        auto descriptions = readDescriptions(*list, {&place, list->type}, context);
        if (!descriptions)
            return descriptions.failure();
        media.descriptions = std::move(*descriptions);
    }
    media.samples = std::move(*table);
    return {};
}

Status readInformation(const AtomView& atom, const AtomPlace& place, ReadContext& context,
                       Media& media) {
    AtomWalker walker(atom.payload(), atom.payloadOffset());
    FirstOfType isFirst;
    bool hasCombination = false;
    while (const auto child = walker.next()) {
        const AtomPlace childPlace{&place, child->type};
        Status read;
        switch (child->type) {
            case fourCharCode("vmhd"):
            case fourCharCode("smhd"):
            case fourCharCode("gmhd"):
                if (isFirst(child->type) && !hasCombination)
                    hasCombination = readCombination(*child, place, media);
                break;
            case fourCharCode("dinf"):
                if (!isFirst(child->type))
                    break;
                if (const auto list = findChild(*child, fourCharCode("dref"))) {
                    auto references = readDataReferences(*list, {&childPlace, list->type}, context);
                    if (!references)
                        return references.failure();
                    media.dataReferences = std::move(*references);
                }
                break;
            case fourCharCode("stbl"):
                if (isFirst(child->type))
                    read = readSamples(*child, childPlace, context, media);
                break;
            default:
                break;
        }
        if (!read)
            return read;
    }
    return walker.damaged() ? Status(damagedChild(place, walker)) : Status();
}

}  // namespace

std::optional<std::int64_t> statedDuration(std::uint8_t version, std::uint64_t duration) {
    const bool unknown =
        version == 0
            ? duration >= std::numeric_limits<std::uint32_t>::max()
            : duration > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return unknown ? std::nullopt : std::optional(static_cast<std::int64_t>(duration));
}

Status spend(std::size_t& bound, std::uint64_t count, const AtomPlace& place,
             std::uint64_t offset) {
    if (count > bound) {
        Failure failure = damagedAt(place, offset, "more entries than any movie has");
        failure.kind = FailureKind::limit;
        return failure;
    }
    bound -= static_cast<std::size_t>(count);
    return {};
}

Expected<std::vector<SampleDescription>> readDescriptions(const AtomView& atom,
                                                          const AtomPlace& place,
                                                          ReadContext& context) {
    const auto head = readFields<CountedListHead>(atom, place);
    if (!head)
        return head.failure();
    const std::uint32_t count = head->atom.count;
    const SharedBytes list = head->rest;
    if (std::uint64_t{count} * timeline::kSampleDescriptionHeadInBytes > list.size())
        return missingBytesAt(
            place, atom.offset,
            std::uint64_t{count} * timeline::kSampleDescriptionHeadInBytes - list.size(),
            "descriptions");
    if (const Status spent = spend(context.itemsLeft, count, place, atom.offset); !spent)
        return spent.failure();
    std::vector<SampleDescription> descriptions;
    descriptions.reserve(count);
    std::size_t offset = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t left = list.size() - offset;
        const std::uint32_t size =
            left < 4 ? 0 : loadBigEndian<std::uint32_t>(list.data() + offset);
        if (size < timeline::kSampleDescriptionHeadInBytes || size > left)
            return damagedAt(place, atom.offset,
                             "description " + std::to_string(i + 1) + " of " +
                                 std::to_string(size) + " bytes where " + std::to_string(left) +
                                 " are left");
        descriptions.emplace_back(list.part(offset, size));
        offset += size;
    }
    return descriptions;
}

Expected<std::vector<DataReference>> readDataReferences(const AtomView& atom,
                                                        const AtomPlace& place,
                                                        ReadContext& context) {
    const auto head = readFields<CountedListHead>(atom, place);
    if (!head)
        return head.failure();
    const std::uint32_t count = head->atom.count;
    if (std::uint64_t{count} * kLeastReferenceInBytes > head->rest.size())
        return missingBytesAt(place, atom.offset,
                              std::uint64_t{count} * kLeastReferenceInBytes - head->rest.size(),
                              "references");
    if (const Status spent = spend(context.itemsLeft, count, place, atom.offset); !spent)
        return spent.failure();
    std::vector<DataReference> references;
    references.reserve(count);
    AtomWalker walker(head->rest, atom.offset + atom.bytes.size() - head->rest.size());
    while (references.size() < count) {
        const auto entry = walker.next();
        if (!entry)
            return damagedAt(place, walker.currentOffset(),
                             "reference " + std::to_string(references.size() + 1) + " of " +
                                 std::to_string(count) + " is not there");
        const auto fields = readFields<FullAtomHead>(*entry, {&place, entry->type});
        if (!fields)
            return fields.failure();
        DataReference reference{entry->type, fields->atom.flags, fields->rest, nullptr};
        reference.store = storeFor(reference, context);
        references.push_back(std::move(reference));
    }
    return references;
}

Expected<std::unique_ptr<Media>> readMedia(const AtomView& atom, const AtomPlace& place,
                                           ReadContext& context) {
    auto media = std::make_unique<Media>();
    bool hasHeader = false;
    bool hasHandler = false;
    FirstOfType isFirst;
    AtomWalker walker(atom.payload(), atom.payloadOffset());
    while (const auto child = walker.next()) {
        Status read;
        if (child->type == MediaHeaderAtom::type && !hasHeader) {
            hasHeader = true;
            read = readHeader(*child, place, *media);
        } else if (child->type == HandlerAtom::type && !hasHandler) {
            hasHandler = true;
            read = readHandler(*child, place, *media);
        } else if (child->type == fourCharCode("minf") && isFirst(child->type)) {
            read = readInformation(*child, {&place, child->type}, context, *media);
        } else if (child->type == fourCharCode("udta") && isFirst(child->type)) {
            media->userData = readUserData(*child, context.itemsLeft);
        } else if (child->type == fourCharCode("imap") && isFirst(child->type)) {
            media->inputMap = inputMapContainer(child->payload());
        }
        if (!read)
            return read.failure();
    }
    if (walker.damaged())
        return damagedChild(place, walker);
    if (!hasHeader || !hasHandler)
        return damagedAt(place, atom.offset,
                         hasHeader ? "no handler ('hdlr')" : "no header ('mdhd')");
    useSoundPackets(*media);
    auto origin = std::make_shared<MediaOrigin>();
    origin->atom = atom;
    origin->durationWhenRead = media->duration();
    media->origin = std::move(origin);
    return media;
}

}  // namespace TWQuickTime::moviefile
