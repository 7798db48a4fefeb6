#include "Engines/transcode/SettingsContainer.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Engines/atomcontainer/AtomContainerEditor.h"
#include "Engines/atomcontainer/AtomContainerReader.h"
#include "Engines/codec/ByteOrder.h"
#include "Engines/timeline/FourCharCode.h"

namespace TWQuickTime::transcode {

using atomcontainer::Atom;
using atomcontainer::AtomContainerEditor;
using atomcontainer::AtomContainerReader;
using atomcontainer::Fault;
using atomcontainer::kRoot;
using atomcontainer::Lookup;
using atomcontainer::VectorStore;
using codec::ByteWriter;
using codec::fourCode;
using codec::u16At;
using codec::u32At;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr int kDeepest = 16;
constexpr std::size_t kLargestContainer = 16u << 20;
constexpr std::uint32_t kLargestSide = 32767u << 16;

struct KnownLeaf {
    std::uint32_t type;
    std::size_t size;
    std::uint32_t group;  ///< where it is put when it is missing; 0: the root
};

constexpr KnownLeaf kLeaves[] = {
    {fourCode("sptl"), 14, fourCode("vide")},
    {fourCode("tprl"), 12, fourCode("vide")},
    {fourCode("drat"), 16, fourCode("vide")},
    {fourCode("ssct"), 4, fourCode("soun")},
    {fourCode("ssrt"), 4, fourCode("soun")},
    {fourCode("ssss"), 2, fourCode("soun")},
    {fourCode("sscc"), 2, fourCode("soun")},
    {fourCode("enso"), 1, 0},
    {fourCode("envi"), 1, 0},
    {fourCode("wdth"), 4, 0},
    {fourCode("hegt"), 4, 0},
    {fourCode("fast"), 1, 0},
};

std::string textOf(std::uint32_t type) {
    return timeline::textOf(type);
}

Failure bad(const std::string& message) {
    return {FailureKind::badArgument, message, 0};
}

/// Walks every atom, so that nothing hostile hides behind what is read.
Status checkTree(const AtomContainerReader& reader, atomcontainer::Reference parent, int depth) {
    if (depth > kDeepest) {
        return Failure{FailureKind::damaged, "settings nested too deeply", 0};
    }
    std::int32_t count = 0;
    if (reader.countChildren(parent, atomcontainer::kAnyType, count) != Fault::none) {
        return Failure{FailureKind::damaged, "settings with a broken atom", 0};
    }
    Lookup child = reader.nextChild(parent, 0);
    for (std::int32_t i = 0; i < count; ++i) {
        if (!child) {
            return Failure{FailureKind::damaged, "settings with a broken atom", 0};
        }
        if (!child.atom.isLeaf()) {
            if (auto status = checkTree(reader, child.atom.offset, depth + 1); !status) {
                return status;
            }
        }
        child = reader.nextChild(parent, child.atom.offset);
    }
    return {};
}

/// A leaf at the top level, else in a 'soun' or 'vide' group.
Lookup findLeaf(const AtomContainerReader& reader, std::uint32_t type) {
    if (const Lookup top = reader.findByIndex(kRoot, type, 1)) {
        return top;
    }
    for (Lookup child = reader.nextChild(kRoot, 0); child;
         child = reader.nextChild(kRoot, child.atom.offset)) {
        const bool group =
            child.atom.type == fourCode("vide") || child.atom.type == fourCode("soun");
        if (group && !child.atom.isLeaf()) {
            if (const Lookup inside = reader.findByIndex(child.atom.offset, type, 1)) {
                return inside;
            }
        }
    }
    return {Fault::notFound, {}};
}

struct Leaves {
    const AtomContainerReader& reader;
    /// The leaf's data; empty when there is none.
    codec::Bytes operator()(std::uint32_t type) const {
        const Lookup leaf = findLeaf(reader, type);
        return leaf ? reader.data(leaf.atom) : codec::Bytes{};
    }
};

Status checkSizes(const AtomContainerReader& reader) {
    for (const KnownLeaf& known : kLeaves) {
        const Lookup leaf = findLeaf(reader, known.type);
        if (leaf && (!leaf.atom.isLeaf() || reader.data(leaf.atom).size() != known.size)) {
            return Failure{FailureKind::damaged,
                           "setting '" + textOf(known.type) + "' of a wrong size", 0};
        }
    }
    return {};
}

bool isDepth(int depth) {
    static constexpr int kDepths[] = {0, 1, 2, 4, 8, 16, 24, 32, 33, 34, 36, 40, 48, 64};
    return std::ranges::find(kDepths, depth) != std::end(kDepths);
}

Status takeVideo(const Leaves& leaf, const ExporterFamily& family, VideoSettings& video) {
    if (const auto spatial = leaf(fourCode("sptl")); !spatial.empty()) {
        const std::uint32_t type = u32At(spatial, 0);
        video.depth = static_cast<std::int16_t>(u16At(spatial, 8));
        const std::uint32_t quality = u32At(spatial, 10);
        if (!isDepth(video.depth)) {
            return bad("a depth of " + std::to_string(video.depth));
        }
        if (quality > std::uint32_t(codec::kQualityLossless)) {
            return bad("a spatial quality of " + std::to_string(quality));
        }
        video.spatialQuality = int(quality);
        if (type != 0) {
            if (!family.takesVideo(type)) {
                return Failure{FailureKind::unsupported,
                               std::string(family.name) + " does not carry '" + textOf(type) + "'",
                               0};
            }
            video.codec = type;
        }
    }
    if (const auto temporal = leaf(fourCode("tprl")); !temporal.empty()) {
        const std::uint32_t quality = u32At(temporal, 0);
        video.frameRate = static_cast<std::int32_t>(u32At(temporal, 4));
        video.keyFrameEvery = static_cast<std::int32_t>(u32At(temporal, 8));
        if (quality > std::uint32_t(codec::kQualityLossless)) {
            return bad("a temporal quality of " + std::to_string(quality));
        }
        video.temporalQuality = int(quality);
        if (video.frameRate < 0 || video.keyFrameEvery < 0) {
            return bad("a negative frame rate or key frame rate");
        }
    }
    if (const auto rate = leaf(fourCode("drat")); !rate.empty()) {
        const auto bytes = static_cast<std::int32_t>(u32At(rate, 0));
        if (bytes < 0 || static_cast<std::int32_t>(u32At(rate, 4)) < 0) {
            return bad("a negative data rate");
        }
        video.bytesPerSecond = bytes;
    }
    for (const auto& [type, side] :
         {std::pair{fourCode("wdth"), &video.width}, {fourCode("hegt"), &video.height}}) {
        if (const auto size = leaf(type); !size.empty()) {
            const std::uint32_t fixed = u32At(size, 0);
            if (fixed > kLargestSide) {
                return bad("a picture size out of range");
            }
            *side = static_cast<int>((fixed + 0x8000) >> 16);
        }
    }
    return {};
}

Status takeSound(const Leaves& leaf, const ExporterFamily& family, SoundSettings& sound) {
    if (const auto type = leaf(fourCode("ssct")); !type.empty() && u32At(type, 0) != 0) {
        sound.codec = u32At(type, 0);
        if (!family.takesSound(sound.codec)) {
            return Failure{
                FailureKind::unsupported,
                std::string(family.name) + " does not carry '" + textOf(sound.codec) + "'", 0};
        }
    }
    if (const auto rate = leaf(fourCode("ssrt")); !rate.empty()) {
        sound.sampleRate = u32At(rate, 0) / 65536.0;
    }
    if (const auto size = leaf(fourCode("ssss")); !size.empty()) {
        const int bits = u16At(size, 0);
        if (bits != 0 && bits != 8 && bits != 16 && bits != 24 && bits != 32 && bits != 64) {
            return bad("sound samples of " + std::to_string(bits) + " bits");
        }
        sound.bitsPerSample = bits == 0 ? 16 : bits;
    }
    if (const auto channels = leaf(fourCode("sscc")); !channels.empty()) {
        const int count = u16At(channels, 0);
        if (count > 64) {
            return bad(std::to_string(count) + " channels");
        }
        sound.channels = count;
    }
    return {};
}

std::vector<std::byte> leafBytes(std::uint32_t type, const ExportSettings& settings) {
    const VideoSettings video = settings.video.value_or(VideoSettings{});
    const SoundSettings sound = settings.sound.value_or(SoundSettings{});
    ByteWriter writer;
    switch (type) {
        case fourCode("sptl"):
            writer.u32(video.codec).u32(0).u16(std::uint32_t(video.depth));
            writer.u32(std::uint32_t(video.spatialQuality));
            break;
        case fourCode("tprl"):
            writer.u32(std::uint32_t(video.temporalQuality)).u32(std::uint32_t(video.frameRate));
            writer.u32(std::uint32_t(video.keyFrameEvery));
            break;
        case fourCode("drat"):
            writer.u32(std::uint32_t(video.bytesPerSecond)).u32(0).u32(0).u32(0);
            break;
        case fourCode("ssct"):
            writer.u32(sound.codec);
            break;
        case fourCode("ssrt"):
            writer.u32(static_cast<std::uint32_t>(
                std::min(std::llround(sound.sampleRate * 65536), 0xFFFFFFFFLL)));
            break;
        case fourCode("ssss"):
            writer.u16(std::uint32_t(sound.bitsPerSample));
            break;
        case fourCode("sscc"):
            writer.u16(std::uint32_t(sound.channels));
            break;
        case fourCode("enso"):
            writer.u8(settings.sound ? 1 : 0);
            break;
        case fourCode("envi"):
            writer.u8(settings.video ? 1 : 0);
            break;
        case fourCode("fast"):
            writer.u8(settings.movieInFront ? 1 : 0);
            break;
        case fourCode("wdth"):
            writer.u32(std::uint32_t(video.width) << 16);
            break;
        default:
            writer.u32(std::uint32_t(video.height) << 16);
            break;
    }
    return writer.take();
}

/// Leaves of pictures (sound) only where the settings have some.
bool applies(const KnownLeaf& known, const ExportSettings& settings) {
    const bool size = known.type == fourCode("wdth") || known.type == fourCode("hegt");
    if (known.type == fourCode("fast")) {
        return isMovieFile(settings.kind);
    }
    if (known.group == fourCode("vide") || size) {
        return settings.video.has_value();
    }
    return known.group == fourCode("soun") ? settings.sound.has_value() : true;
}

Fault addMissing(VectorStore& store, const ExportSettings& settings) {
    AtomContainerEditor editor(store);
    for (const KnownLeaf& known : kLeaves) {
        const AtomContainerReader reader(store.bytes());
        if (!applies(known, settings) || findLeaf(reader, known.type)) {
            continue;
        }
        atomcontainer::Reference parent = kRoot;
        if (known.group != 0) {
            Lookup group = reader.findByIndex(kRoot, known.group, 1);
            if (!group) {
                group = editor.insertChild(kRoot, {known.group, 1, 0}, {});
            }
            if (!group) {
                return group.fault;
            }
            parent = group.atom.offset;
        }
        const Lookup made =
            editor.insertChild(parent, {known.type, 1, 0}, leafBytes(known.type, settings));
        if (!made) {
            return made.fault;
        }
    }
    return Fault::none;
}

}  // namespace

bool saysNothing(std::span<const std::byte> container) {
    if (container.empty()) {
        return true;
    }
    const AtomContainerReader reader(container);
    return reader.fault() == Fault::none && !reader.nextChild(kRoot, 0) &&
           reader.nextChild(kRoot, 0).fault == Fault::notFound;
}

std::vector<std::byte> containerOf(const ExportSettings& settings) {
    VectorStore store;
    static_cast<void>(addMissing(store, settings));
    return store.takeBytes();
}

Expected<ExportSettings> settingsIn(std::span<const std::byte> container,
                                    const ExporterFamily& family, const ExportSettings& otherwise) {
    if (container.size() > kLargestContainer) {
        return Failure{FailureKind::limit, "settings of more than 16 MiB", 0};
    }
    const AtomContainerReader reader(container);
    if (reader.fault() != Fault::none) {
        return atomcontainer::failureFor(reader.fault());
    }
    if (auto status = checkTree(reader, kRoot, 0); !status) {
        return status.failure();
    }
    if (auto status = checkSizes(reader); !status) {
        return status.failure();
    }
    const Leaves leaf{reader};
    ExportSettings settings = otherwise;
    const ExportSettings defaults = defaultSettings(family);
    VideoSettings video = otherwise.video.value_or(defaults.video.value_or(VideoSettings{}));
    SoundSettings sound = otherwise.sound.value_or(defaults.sound.value_or(SoundSettings{}));
    if (family.videoCodec != 0) {
        if (auto status = takeVideo(leaf, family, video); !status) {
            return status.failure();
        }
        const auto enabled = leaf(fourCode("envi"));
        const bool on = enabled.empty() ? settings.video.has_value() : enabled[0] != std::byte{0};
        settings.video = on ? std::optional(video) : std::nullopt;
    }
    if (family.soundCodec != 0) {
        if (auto status = takeSound(leaf, family, sound); !status) {
            return status.failure();
        }
        const auto enabled = leaf(fourCode("enso"));
        const bool on = enabled.empty() ? settings.sound.has_value() : enabled[0] != std::byte{0};
        settings.sound = on ? std::optional(sound) : std::nullopt;
    }
    if (const auto inFront = leaf(fourCode("fast")); !inFront.empty()) {
        settings.movieInFront = inFront[0] != std::byte{0};
    }
    return settings;
}

Expected<std::vector<std::byte>> completedContainer(std::span<const std::byte> given,
                                                    const ExportSettings& settings) {
    VectorStore store(std::vector<std::byte>(given.begin(), given.end()));
    if (const Fault fault = addMissing(store, settings); fault != Fault::none) {
        return atomcontainer::failureFor(fault);
    }
    return store.takeBytes();
}

}  // namespace TWQuickTime::transcode
