#include "Engines/moviefile/TrackAtoms.h"

#include <algorithm>

namespace TWQuickTime::moviefile {

using timeline::ApertureDimensions;
using timeline::Dimensions;
using timeline::TrackReferences;

namespace {

constexpr FourCharCode kCleanAperture = fourCharCode("clef");
constexpr FourCharCode kProduction = fourCharCode("prof");
constexpr FourCharCode kEncodedPixels = fourCharCode("enof");

/// The member of `aperture` that a child of 'tapt' stands for; null for other types.
template <class Aperture>
auto* memberOf(Aperture& aperture, FourCharCode type) {
    switch (type) {
        case kCleanAperture:
            return &aperture.cleanAperture;
        case kProduction:
            return &aperture.production;
        case kEncodedPixels:
            return &aperture.encodedPixels;
        default:
            return static_cast<decltype(&aperture.production)>(nullptr);
    }
}

std::vector<std::uint32_t> trackIDs(const SharedBytes& payload) {
    std::vector<std::uint32_t> ids(payload.size() / 4);
    for (std::size_t i = 0; i < ids.size(); ++i)
        ids[i] = loadBigEndian<std::uint32_t>(payload.data() + i * 4);
    return ids;
}

/// Appends an atom whose payload is `payload`.
void appendAtom(std::vector<std::byte>& out, FourCharCode type,
                std::span<const std::byte> payload) {
    FieldWriter writer(out);
    writer.field("size", static_cast<std::uint32_t>(payload.size() + 8));
    writer.field("type", type);
    out.insert(out.end(), payload.begin(), payload.end());
}

void appendBytes(std::vector<std::byte>& out, const SharedBytes& bytes) {
    out.insert(out.end(), bytes.span().begin(), bytes.span().end());
}

}  // namespace

std::vector<TrackReferences> readTrackReferences(const AtomView& atom, std::size_t& itemsLeft) {
    std::vector<TrackReferences> references;
    AtomWalker walker(atom.payload(), atom.payloadOffset());
    while (const auto child = walker.next()) {
        if (itemsLeft == 0)
            break;
        --itemsLeft;
        references.push_back({child->type, trackIDs(child->payload())});
    }
    return references;
}

std::vector<std::byte> trackReferencesPayload(const std::vector<TrackReferences>& references,
                                              const AtomView* original) {
    std::vector<std::byte> payload;
    const auto append = [&](const TrackReferences& entry) {
        std::vector<std::byte> ids;
        FieldWriter(ids).array("trackID", entry.trackIDs);
        appendAtom(payload, entry.type, ids);
    };
    std::vector<bool> written(references.size());
    SharedBytes stray;
    if (original) {
        AtomWalker walker(original->payload(), original->payloadOffset());
        while (const auto child = walker.next()) {
            for (std::size_t i = 0; i < references.size(); ++i) {
                if (written[i] || references[i].type != child->type)
                    continue;
                written[i] = true;
                if (references[i].trackIDs == trackIDs(child->payload()))
                    appendBytes(payload, child->bytes);
                else
                    append(references[i]);
                break;
            }
        }
        stray = walker.stray();
    }
    for (std::size_t i = 0; i < references.size(); ++i) {
        if (!written[i])
            append(references[i]);
    }
    appendBytes(payload, stray);
    return payload;
}

ApertureDimensions readApertureDimensions(const AtomView& atom) {
    ApertureDimensions aperture;
    const AtomPlace place{nullptr, atom.type};
    AtomWalker walker(atom.payload(), atom.payloadOffset());
    while (const auto child = walker.next()) {
        auto* member = memberOf(aperture, child->type);
        const auto read = readFields<ApertureAtom>(*child, place);
        if (member && read)
            *member = Dimensions{read->atom.width, read->atom.height};
    }
    return aperture;
}

std::vector<std::byte> apertureDimensionsPayload(const ApertureDimensions& aperture,
                                                 const AtomView* original) {
    std::vector<std::byte> payload;
    const auto append = [&](FourCharCode type, const Dimensions& dimensions) {
        ApertureAtom atom;
        atom.width = dimensions.width;
        atom.height = dimensions.height;
        appendAtom(payload, type, fieldsOf(atom));
    };
    ApertureDimensions left = aperture;
    SharedBytes stray;
    if (original) {
        const AtomPlace place{nullptr, original->type};
        AtomWalker walker(original->payload(), original->payloadOffset());
        while (const auto child = walker.next()) {
            auto* member = memberOf(left, child->type);
            if (!member) {
                appendBytes(payload, child->bytes);
                continue;
            }
            if (!*member)
                continue;
            const auto old = readFields<ApertureAtom>(*child, place);
            if (old && Dimensions{old->atom.width, old->atom.height} == **member)
                appendBytes(payload, child->bytes);
            else
                append(child->type, **member);
            member->reset();
        }
        stray = walker.stray();
    }
    for (const FourCharCode type : {kCleanAperture, kProduction, kEncodedPixels}) {
        if (const auto* member = memberOf(left, type); *member)
            append(type, **member);
    }
    appendBytes(payload, stray);
    return payload;
}

EditListAtom editListAtom(const timeline::EditList& edits, std::uint8_t version) {
    EditListAtom atom;
    atom.version = version;
    atom.entries.reserve(edits.size());
    using NarrowTime = std::numeric_limits<std::int32_t>;
    for (const timeline::Edit& edit : edits.edits()) {
        const auto duration = static_cast<std::uint64_t>(edit.duration);
        atom.entries.push_back({duration, edit.mediaTime, edit.rate});
        atom.version = versionFor(atom.version, duration);
        if (edit.mediaTime > NarrowTime::max() || edit.mediaTime < NarrowTime::min())
            atom.version = std::max<std::uint8_t>(1, atom.version);
    }
    return atom;
}

}  // namespace TWQuickTime::moviefile
