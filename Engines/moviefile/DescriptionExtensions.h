// The atoms behind the fields of a sample description, and the ones that are understood.
#pragma once

#include <optional>
#include <vector>

#include "Engines/moviefile/AtomWalker.h"

namespace TWQuickTime::moviefile {

struct DescriptionExtension {
    FourCharCode type = 0;
    SharedBytes data;         ///< without the header
    bool wideHeader = false;  ///< stored with a size of 64 bits, needed or not
    bool operator==(const DescriptionExtension&) const = default;
};

/// Extensions in stored order, and the bytes behind them (a terminator of 4 zero bytes, or less
/// meaningful ones).
struct DescriptionExtensions {
    std::vector<DescriptionExtension> list;
    SharedBytes stray;

    /// The data of the first extension of a type; null when there is none.
    const SharedBytes* find(FourCharCode type) const;
    /// Replaces the first extension of a type, or adds it at the end.
    void set(FourCharCode type, SharedBytes data);
    /// Takes out all extensions of a type.
    void remove(FourCharCode type);
    bool operator==(const DescriptionExtensions&) const = default;
};

DescriptionExtensions readExtensions(const SharedBytes& bytes);
void appendExtensions(std::vector<std::byte>& out, const DescriptionExtensions& extensions);

/// How much wider than high a pixel is ('pasp').
struct PixelAspect {
    static constexpr FourCharCode type = fourCharCode("pasp");
    std::uint32_t horizontalSpacing = 1;
    std::uint32_t verticalSpacing = 1;
    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.field("horizontalSpacing", atom.horizontalSpacing);
        v.field("verticalSpacing", atom.verticalSpacing);
    }
};

/// The part of the picture that is meant to be seen ('clap'): fractions of pixels; offsets are
/// those of its centre from the picture's centre.
struct CleanAperture {
    static constexpr FourCharCode type = fourCharCode("clap");
    std::uint32_t widthNumerator = 0, widthDenominator = 1;
    std::uint32_t heightNumerator = 0, heightDenominator = 1;
    std::int32_t horizontalOffsetNumerator = 0;
    std::uint32_t horizontalOffsetDenominator = 1;
    std::int32_t verticalOffsetNumerator = 0;
    std::uint32_t verticalOffsetDenominator = 1;
    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.field("widthNumerator", atom.widthNumerator);
        v.field("widthDenominator", atom.widthDenominator);
        v.field("heightNumerator", atom.heightNumerator);
        v.field("heightDenominator", atom.heightDenominator);
        v.field("horizontalOffsetNumerator", atom.horizontalOffsetNumerator);
        v.field("horizontalOffsetDenominator", atom.horizontalOffsetDenominator);
        v.field("verticalOffsetNumerator", atom.verticalOffsetNumerator);
        v.field("verticalOffsetDenominator", atom.verticalOffsetDenominator);
    }
};

/// Fields of interlaced video ('fiel').
struct FieldInformation {
    static constexpr FourCharCode type = fourCharCode("fiel");
    std::uint8_t fieldCount = 1;  ///< 1 progressive, 2 interlaced
    std::uint8_t detail = 0;      ///< 1, 6, 9, 14: which field is stored and shown first
    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.field("fieldCount", atom.fieldCount);
        v.field("detail", atom.detail);
    }
};

/// The gamma of the picture ('gama'), 16.16.
struct Gamma {
    static constexpr FourCharCode type = fourCharCode("gama");
    std::uint32_t value = 0;
    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.field("value", atom.value);
    }
};

/// Colour by code points ('colr' of kind 'nclc' or 'nclx'; a profile, 'prof', is data only).
struct ColorParameters {
    static constexpr FourCharCode type = fourCharCode("colr");
    std::uint32_t kind = fourCharCode("nclc");
    std::uint16_t primaries = 1;
    std::uint16_t transfer = 1;
    std::uint16_t matrix = 1;
    template <class Visitor, class Self>
    static void describe(Visitor& v, Self& atom) {
        v.field("kind", atom.kind);
        v.field("primaries", atom.primaries);
        v.field("transfer", atom.transfer);
        v.field("matrix", atom.matrix);
    }
};

/// The first extension that is an `Extension`; none when there is none, or one that is too short.
template <class Extension>
std::optional<Extension> extensionOf(const DescriptionExtensions& extensions) {
    const SharedBytes* data = extensions.find(Extension::type);
    if (!data)
        return std::nullopt;
    Extension extension;
    FieldReader reader(*data);
    Extension::describe(reader, extension);
    return reader.failed() ? std::nullopt : std::optional(extension);
}

/// Replaces or adds an extension.
template <class Extension>
void setExtension(DescriptionExtensions& extensions, const Extension& extension) {
    extensions.set(Extension::type, SharedBytes::adopt(fieldsOf(extension)));
}

}  // namespace TWQuickTime::moviefile
