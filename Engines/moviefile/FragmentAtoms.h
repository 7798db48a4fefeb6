// The atoms of fragments ('mvex' in the movie, 'moof' behind it), after ISO/IEC 14496-12.
#pragma once

#include "Engines/moviefile/AtomFields.h"

namespace TWQuickTime::moviefile {

/// Set in a sample's flags when it is not a sync sample.
constexpr std::uint32_t kSampleIsNotSync = 0x00010000;

/// What holds for the samples of a track in all fragments, unless they say otherwise.
struct TrackExtendsAtom {
    static constexpr FourCharCode type = fourCharCode("trex");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint32_t trackID = 0;
    std::uint32_t descriptionIndex = 1;
    std::uint32_t sampleDuration = 0;  // media time units
    std::uint32_t sampleSize = 0;      // bytes
    std::uint32_t sampleFlags = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("trackID", atom.trackID);
        v.field("descriptionIndex", atom.descriptionIndex);
        v.field("sampleDuration", atom.sampleDuration);
        v.field("sampleSize", atom.sampleSize);
        v.field("sampleFlags", atom.sampleFlags);
    }
};

struct FragmentHeaderAtom {
    static constexpr FourCharCode type = fourCharCode("mfhd");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint32_t sequenceNumber = 0;  // grows from fragment to fragment, from 1

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("sequenceNumber", atom.sequenceNumber);
    }
};

struct TrackFragmentHeaderAtom {
    static constexpr FourCharCode type = fourCharCode("tfhd");
    static constexpr std::uint32_t kHasBaseOffset = 1;
    static constexpr std::uint32_t kHasDescriptionIndex = 2;
    static constexpr std::uint32_t kHasDuration = 8;
    static constexpr std::uint32_t kHasSize = 0x10;
    static constexpr std::uint32_t kHasFlags = 0x20;
    static constexpr std::uint32_t kBaseIsFragment = 0x20000;
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint32_t trackID = 0;
    std::uint64_t baseOffset = 0;  // in the file
    std::uint32_t descriptionIndex = 0;
    std::uint32_t sampleDuration = 0;
    std::uint32_t sampleSize = 0;
    std::uint32_t sampleFlags = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("trackID", atom.trackID);
        if (atom.flags & kHasBaseOffset)
            v.field("baseOffset", atom.baseOffset);
        if (atom.flags & kHasDescriptionIndex)
            v.field("descriptionIndex", atom.descriptionIndex);
        if (atom.flags & kHasDuration)
            v.field("sampleDuration", atom.sampleDuration);
        if (atom.flags & kHasSize)
            v.field("sampleSize", atom.sampleSize);
        if (atom.flags & kHasFlags)
            v.field("sampleFlags", atom.sampleFlags);
    }
};

struct TrackFragmentTimeAtom {
    static constexpr FourCharCode type = fourCharCode("tfdt");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint64_t decodeTime = 0;  // media time units

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.wide("decodeTime", atom.decodeTime, atom.version);
    }
};

/// Rows hold, of {duration, size, flags, composition offset}, those that the flags name.
struct TrackRunAtom {
    static constexpr FourCharCode type = fourCharCode("trun");
    static constexpr std::uint32_t kHasDataOffset = 1;
    static constexpr std::uint32_t kHasFirstFlags = 4;
    static constexpr std::uint32_t kRowsHaveDuration = 0x100;
    static constexpr std::uint32_t kRowsHaveSize = 0x200;
    static constexpr std::uint32_t kRowsHaveFlags = 0x400;
    static constexpr std::uint32_t kRowsHaveCompositionOffset = 0x800;
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint32_t count = 0;
    std::int32_t dataOffset = 0;  // from the base of the track fragment
    std::uint32_t firstSampleFlags = 0;

    std::size_t bytesPerRow() const {
        std::size_t bytes = 0;
        for (const std::uint32_t column :
             {kRowsHaveDuration, kRowsHaveSize, kRowsHaveFlags, kRowsHaveCompositionOffset})
            bytes += (flags & column) ? 4 : 0;
        return bytes;
    }

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("count", atom.count);
        if (atom.flags & kHasDataOffset)
            v.field("dataOffset", atom.dataOffset);
        if (atom.flags & kHasFirstFlags)
            v.field("firstSampleFlags", atom.firstSampleFlags);
    }
};

}  // namespace TWQuickTime::moviefile
