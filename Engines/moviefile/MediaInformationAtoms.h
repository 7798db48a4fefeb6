// What 'minf' holds besides the sample table: how the media is combined with others, and the
// references to its data.
#pragma once

#include "Engines/moviefile/AtomFields.h"

namespace TWQuickTime::moviefile {

struct VideoMediaHeaderAtom {
    static constexpr FourCharCode type = fourCharCode("vmhd");
    std::uint8_t version = 0;
    std::uint32_t flags = 1;  // always 1
    std::uint16_t graphicsMode = 0;
    std::array<std::uint16_t, 3> opColor{};

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("graphicsMode", atom.graphicsMode);
        v.array("opColor", atom.opColor);
    }
};

struct SoundMediaHeaderAtom {
    static constexpr FourCharCode type = fourCharCode("smhd");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::int16_t balance = 0;  // 8.8
    std::array<std::uint8_t, 2> reserved{};

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("balance", atom.balance);
        v.reserved(atom.reserved);
    }
};

/// First child of 'gmhd'.
struct BaseMediaInformationAtom {
    static constexpr FourCharCode type = fourCharCode("gmin");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint16_t graphicsMode = 0x40;
    std::array<std::uint16_t, 3> opColor = {0x8000, 0x8000, 0x8000};
    std::int16_t balance = 0;  // 8.8
    std::array<std::uint8_t, 2> reserved{};

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("graphicsMode", atom.graphicsMode);
        v.array("opColor", atom.opColor);
        v.field("balance", atom.balance);
        v.reserved(atom.reserved);
    }
};

/// How a timecode is drawn: 'tcmi' in 'gmhd'/'tmcd'. The word after the size is written by all
/// known writers although public documentation leaves it out.
struct TimecodeMediaInformationAtom {
    static constexpr FourCharCode type = fourCharCode("tcmi");
    std::uint8_t version = 0;
    std::uint32_t flags = 0;
    std::uint16_t font = 0;
    std::uint16_t face = 0;
    std::uint16_t size = 12;
    std::uint16_t reserved = 0;
    std::array<std::uint16_t, 3> textColor{};
    std::array<std::uint16_t, 3> backgroundColor = {0xFFFF, 0xFFFF, 0xFFFF};
    std::string fontName;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
        v.field("font", atom.font);
        v.field("face", atom.face);
        v.field("size", atom.size);
        v.field("reserved", atom.reserved);
        v.array("textColor", atom.textColor);
        v.array("backgroundColor", atom.backgroundColor);
        v.pascalString("fontName", atom.fontName);
    }
};

/// The head of one entry of 'dref', and with it of every atom with version and flags.
struct FullAtomHead {
    std::uint8_t version = 0;
    std::uint32_t flags = 0;

    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.versionAndFlags(atom.version, atom.flags);
    }
};

}  // namespace TWQuickTime::moviefile
