// The atoms of 'stbl'. Rows are not taken apart: they stay views on the bytes of the file, in the
// form in which timeline::SampleColumns works on them.
#pragma once

#include "Engines/moviefile/AtomFields.h"

namespace TWQuickTime::moviefile {

/// An atom of version, flags, a count, and rows of a fixed size.
template <std::size_t RowBytes>
struct RowsAtom {
    static constexpr std::size_t bytesPerRow = RowBytes;
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    SharedBytes rows;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.rows("rows", atom.rows, RowBytes);
    }
};

/// {sample count, duration in media time units}
struct TimeToSampleAtom : RowsAtom<8> {
    static constexpr FourCharCode type = fourCharCode("stts");
};
/// {sample count, composition offset}; signed in both versions, as most writers of 0 mean it.
struct CompositionOffsetAtom : RowsAtom<8> {
    static constexpr FourCharCode type = fourCharCode("ctts");
};
/// Numbers of samples, from 1.
struct SyncSampleAtom : RowsAtom<4> {
    static constexpr FourCharCode type = fourCharCode("stss");
};
struct PartialSyncSampleAtom : RowsAtom<4> {
    static constexpr FourCharCode type = fourCharCode("stps");
};
/// {first chunk from 1, samples per chunk, description index from 1}
struct SampleToChunkAtom : RowsAtom<12> {
    static constexpr FourCharCode type = fourCharCode("stsc");
};
struct ChunkOffsetAtom : RowsAtom<4> {
    static constexpr FourCharCode type = fourCharCode("stco");
};
struct WideChunkOffsetAtom : RowsAtom<8> {
    static constexpr FourCharCode type = fourCharCode("co64");
};

/// Rows follow only where there is no common size; reading checks them against the count.
struct SampleSizeAtom {
    static constexpr FourCharCode type = fourCharCode("stsz");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint32_t commonSize = 0;
    std::uint32_t count = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("commonSize", atom.commonSize);
        v.field("count", atom.count);
    }
};

/// Packed rows of 4, 8 or 16 bits follow.
struct CompactSampleSizeAtom {
    static constexpr FourCharCode type = fourCharCode("stz2");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::array<std::uint8_t, 3> reserved{};
    std::uint8_t bitsPerRow = 16;
    std::uint32_t count = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.reserved(atom.reserved);
        v.field("bitsPerRow", atom.bitsPerRow);
        v.field("count", atom.count);
    }
};

/// One byte for each sample: leading, depends on, depended on, redundancy (2 bits each).
struct SampleDependencyAtom {
    static constexpr FourCharCode type = fourCharCode("sdtp");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    SharedBytes rows;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.remainder("rows", atom.rows);
    }
};

/// How display times relate to decode times; media time units.
struct CompositionShiftAtom {
    static constexpr FourCharCode type = fourCharCode("cslg");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::int64_t compositionToDecodeShift = 0;
    std::int64_t leastDisplayOffset = 0;
    std::int64_t greatestDisplayOffset = 0;
    std::int64_t displayStart = 0;
    std::int64_t displayEnd = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.wide("compositionToDecodeShift", atom.compositionToDecodeShift, atom.version);
        v.wide("leastDisplayOffset", atom.leastDisplayOffset, atom.version);
        v.wide("greatestDisplayOffset", atom.greatestDisplayOffset, atom.version);
        v.wide("displayStart", atom.displayStart, atom.version);
        v.wide("displayEnd", atom.displayEnd, atom.version);
    }
};

}  // namespace TWQuickTime::moviefile
