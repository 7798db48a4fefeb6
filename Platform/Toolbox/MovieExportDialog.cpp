#include "MovieExportDialog.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>

#include "Engines/atomcontainer/AtomContainerEditor.h"
#include "Engines/atomcontainer/AtomContainerReader.h"
#include "Engines/codec/ByteOrder.h"

namespace TWQuickTime {

namespace {

using atomcontainer::AtomContainerEditor;
using atomcontainer::AtomContainerReader;
using atomcontainer::kRoot;
using atomcontainer::Lookup;

enum class ValueKind { code, number, fixed, unsignedFixed, flag };

/// Where a field's value lies inside its leaf.
struct FieldPlace {
    const char* key;
    const char* label;
    const char* hint;
    std::uint32_t leaf;
    std::size_t offset;
    std::size_t width;
    ValueKind kind;
};

constexpr FieldPlace kPlaces[] = {
    {"video", "Pictures", "yes or no", fourCC("envi"), 0, 1, ValueKind::flag},
    {"videoCodec", "Video codec", "four characters, as avc1", fourCC("sptl"), 0, 4,
     ValueKind::code},
    {"codecComponent", "Codec by number", "kept for other exporters", fourCC("sptl"), 4, 4,
     ValueKind::number},
    {"depth", "Depth", "24, 32 with alpha, 40 grey", fourCC("sptl"), 8, 2, ValueKind::number},
    {"spatialQuality", "Quality", "0 to 1023, 1024 lossless", fourCC("sptl"), 10, 4,
     ValueKind::number},
    {"temporalQuality", "Motion quality", "0 to 1024", fourCC("tprl"), 0, 4, ValueKind::number},
    {"frameRate", "Frames per second", "0: as the movie", fourCC("tprl"), 4, 4, ValueKind::fixed},
    {"keyFrameEvery", "Key frame every", "frames, 0: automatic", fourCC("tprl"), 8, 4,
     ValueKind::number},
    {"dataRate", "Data rate", "bytes per second, 0: by quality", fourCC("drat"), 0, 4,
     ValueKind::number},
    {"frameDuration", "Frame duration", "kept for other exporters", fourCC("drat"), 4, 4,
     ValueKind::number},
    {"minSpatialQuality", "Least quality", "kept for other exporters", fourCC("drat"), 8, 4,
     ValueKind::number},
    {"minTemporalQuality", "Least motion quality", "kept for other exporters", fourCC("drat"), 12,
     4, ValueKind::number},
    {"width", "Width", "pixels, 0: as the movie", fourCC("wdth"), 0, 4, ValueKind::fixed},
    {"height", "Height", "pixels, 0: as the movie", fourCC("hegt"), 0, 4, ValueKind::fixed},
    {"sound", "Sound", "yes or no", fourCC("enso"), 0, 1, ValueKind::flag},
    {"soundCodec", "Sound codec", "four characters, as mp4a", fourCC("ssct"), 0, 4,
     ValueKind::code},
    {"sampleRate", "Sample rate", "hertz, 0: as the movie", fourCC("ssrt"), 0, 4,
     ValueKind::unsignedFixed},
    {"sampleSize", "Sample size", "8, 16, 24 or 32 bits", fourCC("ssss"), 0, 2, ValueKind::number},
    {"channels", "Channels", "0: as the movie", fourCC("sscc"), 0, 2, ValueKind::number},
    {"movieInFront", "Fast start", "yes: the movie atom in front", fourCC("fast"), 0, 1,
     ValueKind::flag},
    {"lock", "Locked", "kept for other exporters", fourCC("lock"), 0, 1, ValueKind::number},
    {"dvVideo", "DV format", "kept for other exporters", fourCC("dvcv"), 0, 1, ValueKind::number},
};

/// The leaf at the top level, else in a group.
Lookup findLeaf(const AtomContainerReader& reader, std::uint32_t type) {
    if (const Lookup top = reader.findByIndex(kRoot, type, 1))
        return top;
    for (const std::uint32_t group : {fourCC("vide"), fourCC("soun")}) {
        const Lookup parent = reader.findByIndex(kRoot, group, 1);
        if (!parent || parent.atom.isLeaf())
            continue;
        if (const Lookup leaf = reader.findByIndex(parent.atom.offset, type, 1))
            return leaf;
    }
    return {atomcontainer::Fault::notFound, {}};
}

std::string textOfCode(std::uint32_t code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(code >> shift);
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

std::string textOfNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string textOf(const FieldPlace& place, std::uint32_t value) {
    switch (place.kind) {
        case ValueKind::code:
            return textOfCode(value);
        case ValueKind::fixed:
            return textOfNumber(static_cast<std::int32_t>(value) / 65536.0);
        case ValueKind::unsignedFixed:
            return textOfNumber(value / 65536.0);
        case ValueKind::flag:
            return value != 0 ? "yes" : "no";
        default:
            return std::to_string(value);
    }
}

std::optional<double> numberIn(const std::string& text) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<std::uint32_t> valueOf(const FieldPlace& place, const std::string& text) {
    if (place.kind == ValueKind::flag) {
        if (text == "yes")
            return 1;
        return text == "no" ? std::optional<std::uint32_t>(0) : std::nullopt;
    }
    if (place.kind == ValueKind::code) {
        if (text.empty() || text.size() > 4)
            return std::nullopt;
        return fourCC(text.c_str());
    }
    const auto number = numberIn(text);
    if (!number || *number < 0)
        return std::nullopt;
    const bool fixed = place.kind != ValueKind::number;
    const double scaled = std::round(fixed ? *number * 65536 : *number);
    const double limit = place.width == 1                         ? 255
                         : place.width == 2                       ? 32767
                         : place.kind == ValueKind::unsignedFixed ? 4294967295.0
                                                                  : 2147483647.0;
    if (scaled > limit)
        return std::nullopt;
    return static_cast<std::uint32_t>(scaled);
}

std::mutex presenterMutex;
MovieExportDialogPresenter& presenterPlace() {
    static MovieExportDialogPresenter presenter;
    return presenter;
}

}  // namespace

MovieExportDialog::MovieExportDialog(std::string exporterName, std::span<const std::byte> settings,
                                     Apply apply)
    : exporterName_(std::move(exporterName)),
      settings_(settings.begin(), settings.end()),
      apply_(std::move(apply)) {}

std::vector<MovieExportDialogField> MovieExportDialog::fields() const {
    std::vector<MovieExportDialogField> fields;
    const AtomContainerReader reader(settings_);
    for (const FieldPlace& place : kPlaces) {
        const Lookup leaf = findLeaf(reader, place.leaf);
        if (!leaf)
            continue;
        const auto bytes = reader.data(leaf.atom);
        if (bytes.size() < place.offset + place.width)
            continue;
        const auto value = static_cast<std::uint32_t>(
            place.width == 4   ? codec::bigEndianAt<4>(bytes, place.offset)
            : place.width == 2 ? codec::bigEndianAt<2>(bytes, place.offset)
                               : codec::bigEndianAt<1>(bytes, place.offset));
        fields.push_back({place.key, place.label, textOf(place, value), place.hint});
    }
    return fields;
}

bool MovieExportDialog::setValue(const std::string& key, const std::string& text) {
    for (const FieldPlace& place : kPlaces) {
        if (key != place.key)
            continue;
        const auto value = valueOf(place, text);
        atomcontainer::VectorStore store(settings_);
        const AtomContainerReader reader(store.bytes());
        const Lookup leaf = findLeaf(reader, place.leaf);
        if (!value || !leaf)
            return false;
        const auto old = reader.data(leaf.atom);
        if (old.size() < place.offset + place.width)
            return false;
        std::vector<std::byte> bytes(old.begin(), old.end());
        for (std::size_t i = 0; i < place.width; ++i)
            bytes[place.offset + i] = static_cast<std::byte>(*value >> (8 * (place.width - 1 - i)));
        if (AtomContainerEditor(store).setData(leaf.atom.offset, bytes) !=
            atomcontainer::Fault::none)
            return false;
        settings_ = store.takeBytes();
        return true;
    }
    return false;
}

MovieExportDialogPresenter SetMovieExportDialogPresenter(MovieExportDialogPresenter presenter) {
    const std::lock_guard lock(presenterMutex);
    return std::exchange(presenterPlace(), std::move(presenter));
}

ComponentResult presentMovieExportDialog(const std::string& exporterName,
                                         std::span<const std::byte> settings,
                                         const MovieExportDialog::Apply& apply, bool& canceled) {
    MovieExportDialogPresenter presenter;
    {
        const std::lock_guard lock(presenterMutex);
        presenter = presenterPlace();
    }
    if (!presenter)
        return badComponentSelector;
    MovieExportDialog dialog(exporterName, settings, apply);
    canceled = presenter(dialog) == MovieExportDialogAnswer::canceled;
    return canceled ? noErr : dialog.apply();
}

}  // namespace TWQuickTime
