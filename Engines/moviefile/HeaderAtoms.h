// The headers of movies, tracks and medias, and the small atoms about them.
//
// Version 1 holds times and durations in 64 bits. Calendar times count seconds since
// 1904-01-01 00:00 UTC.
#pragma once

#include <limits>

#include "Engines/moviefile/AtomFields.h"
#include "Engines/timeline/Matrix.h"

namespace TWQuickTime::moviefile {

/// Version 1 when a value does not fit into 32 bits; a version that is higher already stays.
template <class... Values>
std::uint8_t versionFor(std::uint8_t version, Values... values) {
    constexpr std::uint64_t kGreatest = std::numeric_limits<std::uint32_t>::max();
    const bool wide = ((static_cast<std::uint64_t>(values) > kGreatest) || ...);
    return wide && version == 0 ? 1 : version;
}

struct MovieHeaderAtom {
    static constexpr FourCharCode type = fourCharCode("mvhd");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint64_t creationTime = 0;
    std::uint64_t modificationTime = 0;
    std::uint32_t timeScale = 600;
    std::uint64_t duration = 0;  // movie time units
    std::int32_t preferredRate = 0x10000;
    std::int16_t preferredVolume = 0x100;
    std::array<std::uint8_t, 10> reserved{};
    timeline::Matrix matrix = timeline::kIdentityMatrix;
    // All in movie time units.
    std::uint32_t previewTime = 0;
    std::uint32_t previewDuration = 0;
    std::uint32_t posterTime = 0;
    std::uint32_t selectionTime = 0;
    std::uint32_t selectionDuration = 0;
    std::uint32_t currentTime = 0;
    std::uint32_t nextTrackID = 1;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.wide("creationTime", atom.creationTime, atom.version);
        v.wide("modificationTime", atom.modificationTime, atom.version);
        v.field("timeScale", atom.timeScale);
        v.wide("duration", atom.duration, atom.version);
        v.field("preferredRate", atom.preferredRate);
        v.field("preferredVolume", atom.preferredVolume);
        v.reserved(atom.reserved);
        v.array("matrix", atom.matrix);
        v.field("previewTime", atom.previewTime);
        v.field("previewDuration", atom.previewDuration);
        v.field("posterTime", atom.posterTime);
        v.field("selectionTime", atom.selectionTime);
        v.field("selectionDuration", atom.selectionDuration);
        v.field("currentTime", atom.currentTime);
        v.field("nextTrackID", atom.nextTrackID);
    }
};

struct TrackHeaderAtom {
    static constexpr FourCharCode type = fourCharCode("tkhd");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint64_t creationTime = 0;
    std::uint64_t modificationTime = 0;
    std::uint32_t trackID = 0;
    std::array<std::uint8_t, 4> reserved1{};
    std::uint64_t duration = 0;  // movie time units
    std::array<std::uint8_t, 8> reserved2{};
    std::int16_t layer = 0;
    std::int16_t alternateGroup = 0;
    std::int16_t volume = 0;
    std::array<std::uint8_t, 2> reserved3{};
    timeline::Matrix matrix = timeline::kIdentityMatrix;
    std::int32_t width = 0;
    std::int32_t height = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.wide("creationTime", atom.creationTime, atom.version);
        v.wide("modificationTime", atom.modificationTime, atom.version);
        v.field("trackID", atom.trackID);
        v.reserved(atom.reserved1);
        v.wide("duration", atom.duration, atom.version);
        v.reserved(atom.reserved2);
        v.field("layer", atom.layer);
        v.field("alternateGroup", atom.alternateGroup);
        v.field("volume", atom.volume);
        v.reserved(atom.reserved3);
        v.array("matrix", atom.matrix);
        v.field("width", atom.width);
        v.field("height", atom.height);
    }
};

struct MediaHeaderAtom {
    static constexpr FourCharCode type = fourCharCode("mdhd");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint64_t creationTime = 0;
    std::uint64_t modificationTime = 0;
    std::uint32_t timeScale = 0;
    std::uint64_t duration = 0;  // media time units
    std::uint16_t language = 0;
    std::uint16_t quality = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.wide("creationTime", atom.creationTime, atom.version);
        v.wide("modificationTime", atom.modificationTime, atom.version);
        v.field("timeScale", atom.timeScale);
        v.wide("duration", atom.duration, atom.version);
        v.field("language", atom.language);
        v.field("quality", atom.quality);
    }
};

struct HandlerAtom {
    static constexpr FourCharCode type = fourCharCode("hdlr");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint32_t componentType = 0;
    std::uint32_t componentSubtype = 0;
    std::uint32_t manufacturer = 0;
    std::uint32_t componentFlags = 0;
    std::uint32_t componentFlagsMask = 0;
    std::string name;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("componentType", atom.componentType);
        v.field("componentSubtype", atom.componentSubtype);
        v.field("manufacturer", atom.manufacturer);
        v.field("componentFlags", atom.componentFlags);
        v.field("componentFlagsMask", atom.componentFlagsMask);
        v.pascalString("name", atom.name);
    }
};

struct EditListAtom {
    static constexpr FourCharCode type = fourCharCode("elst");
    struct Entry {
        std::uint64_t duration = 0;  // movie time units
        std::int64_t mediaTime = 0;  // media time units; -1: empty edit
        std::int32_t rate = 0x10000;
    };
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::vector<Entry> entries;

    static constexpr std::size_t bytesPerEntry(unsigned version) { return version >= 1 ? 20 : 12; }

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.counted("entries", atom.entries, bytesPerEntry(atom.version),
                  [&](auto& inner, auto& entry) {
                      inner.wide("duration", entry.duration, atom.version);
                      inner.wide("mediaTime", entry.mediaTime, atom.version);
                      inner.field("rate", entry.rate);
                  });
    }
};

struct PreloadAtom {
    static constexpr FourCharCode type = fourCharCode("load");
    std::uint32_t startTime = 0;  // movie time units
    std::uint32_t duration = 0;   // movie time units
    std::uint32_t flags = 0;
    std::uint32_t hints = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.field("startTime", atom.startTime);
        v.field("duration", atom.duration);
        v.field("flags", atom.flags);
        v.field("hints", atom.hints);
    }
};

/// 'clef', 'prof' and 'enof', the children of 'tapt'.
struct ApertureAtom {
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::int32_t width = 0;   // 16.16 pixels
    std::int32_t height = 0;  // 16.16 pixels

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("width", atom.width);
        v.field("height", atom.height);
    }
};

}  // namespace TWQuickTime::moviefile
