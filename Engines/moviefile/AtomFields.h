// One description per atom reads, writes, measures, dumps and compares it.
//
// An atom is a struct with its four-character type and a list of its fields:
//
//     struct Preload {
//         static constexpr FourCharCode type = fourCharCode("load");
//         std::uint32_t startTime = 0, duration = 0;
//         template <class Visitor, class Self>
//         static void describe(Visitor& v, Self& atom) {
//             v.field("startTime", atom.startTime);   // movie time units
//             v.field("duration", atom.duration);
//         }
//     };
//
// `Self` is const for the visitors that only look. A visitor keeps its first failure and ignores
// what follows, so that the fields read as a list. Integers are big-endian and as wide as their
// type. What follows the last field is not lost: `Parsed<Atom>::rest`.
#pragma once

#include <array>
#include <concepts>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "Engines/timeline/FourCharCode.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::moviefile {

using timeline::FourCharCode;
using timeline::fourCharCode;
using timeline::SharedBytes;

template <class Value>
void storeBigEndian(std::byte* at, Value value) {
    const auto bits = static_cast<std::make_unsigned_t<Value>>(value);
    for (std::size_t i = 0; i < sizeof value; ++i)
        at[i] = static_cast<std::byte>(bits >> (8 * (sizeof value - 1 - i)));
}

template <class Value>
Value loadBigEndian(const std::byte* at) {
    std::make_unsigned_t<Value> bits = 0;
    for (std::size_t i = 0; i < sizeof bits; ++i)
        bits = static_cast<std::make_unsigned_t<Value>>((std::uint64_t{bits} << 8) |
                                                        std::to_integer<std::uint64_t>(at[i]));
    return static_cast<Value>(bits);
}

/// The composite fields, put together from the single ones of the visitor that derives from it.
template <class Visitor>
class CompositeFields {
  public:
    /// One byte of version and three of flags.
    template <class Version, class Flags>
    void versionAndFlags(Version& version, Flags& flags) {
        self().field("version", version);
        self().field24("flags", flags);
    }
    /// A field of 64 bits in atoms of version 1 and above, else of 32. A signed one keeps its sign.
    template <class Value>
    void wide(const char* name, Value& value, unsigned version) {
        using Number = std::remove_const_t<Value>;
        using Narrow = std::conditional_t<std::is_signed_v<Number>, std::int32_t, std::uint32_t>;
        if (version >= 1) {
            self().field(name, value);
        } else {
            auto narrow = static_cast<Narrow>(value);
            self().field(name, narrow);
            if constexpr (!std::is_const_v<Value>)
                value = narrow;
        }
    }
    template <class Array>
    void array(const char* name, Array& values) {
        for (auto& value : values)
            self().field(name, value);
    }
    /// Reserved bytes: kept as they are.
    template <class Array>
    void reserved(Array& values) {
        array("reserved", values);
    }

  private:
    Visitor& self() { return static_cast<Visitor&>(*this); }
};

/// Fills an atom from bytes.
class FieldReader : public CompositeFields<FieldReader> {
  public:
    static constexpr bool kReads = true;

    explicit FieldReader(SharedBytes bytes) : bytes_(std::move(bytes)) {}

    template <std::integral Value>
    void field(const char* name, Value& value) {
        if (need(name, sizeof value)) {
            value = loadBigEndian<Value>(bytes_.data() + offset_);
            offset_ += sizeof value;
        }
    }
    void field24(const char* name, std::uint32_t& value);
    /// A 32-bit count, then rows of a fixed size, which stay a view.
    void rows(const char* name, SharedBytes& rows, std::size_t bytesPerRow);
    /// A 32-bit count, then elements described by `element(visitor, element)`.
    template <class Element, class Describe>
    void counted(const char* name, std::vector<Element>& elements, std::size_t leastBytesPerElement,
                 Describe&& element) {
        std::uint32_t count = 0;
        field(name, count);
        if (failed() || !need(name, std::uint64_t{count} * leastBytesPerElement))
            return;
        elements.clear();
        elements.reserve(count);
        for (std::uint32_t i = 0; i < count && !failed(); ++i)
            element(*this, elements.emplace_back());
    }
    /// A length byte, then that many bytes. Where the length passes the end (the text of ISO
    /// files is ended by a 0 instead), everything up to the 0 or the end.
    void pascalString(const char* name, std::string& text);
    /// All that is left.
    void remainder(const char* name, SharedBytes& bytes);

    bool failed() const { return failedField_ != nullptr; }
    /// The field that did not fit, and how many bytes were missing for it.
    const char* failedField() const { return failedField_; }
    std::uint64_t missingBytes() const { return missing_; }
    std::size_t offset() const { return offset_; }
    SharedBytes rest() const { return bytes_.part(offset_); }
    std::size_t bytesLeft() const { return bytes_.size() - offset_; }

  private:
    bool need(const char* name, std::uint64_t sizeInBytes);

    SharedBytes bytes_;
    std::size_t offset_ = 0;
    const char* failedField_ = nullptr;
    std::uint64_t missing_ = 0;
};

/// Appends an atom's fields to bytes.
class FieldWriter : public CompositeFields<FieldWriter> {
  public:
    static constexpr bool kReads = false;

    explicit FieldWriter(std::vector<std::byte>& out) : out_(out) {}

    template <std::integral Value>
    void field(const char*, const Value& value) {
        out_.resize(out_.size() + sizeof value);
        storeBigEndian(out_.data() + out_.size() - sizeof value, value);
    }
    void field24(const char* name, const std::uint32_t& value);
    void rows(const char* name, const SharedBytes& rows, std::size_t bytesPerRow);
    template <class Element, class Describe>
    void counted(const char* name, const std::vector<Element>& elements, std::size_t,
                 Describe&& element) {
        field(name, static_cast<std::uint32_t>(elements.size()));
        for (const Element& each : elements)
            element(*this, each);
    }
    void pascalString(const char* name, const std::string& text);
    void remainder(const char* name, const SharedBytes& bytes);

  private:
    std::vector<std::byte>& out_;
};

/// Adds up the bytes that writing would take.
class FieldMeasurer : public CompositeFields<FieldMeasurer> {
  public:
    static constexpr bool kReads = false;

    template <std::integral Value>
    void field(const char*, const Value&) {
        size_ += sizeof(Value);
    }
    void field24(const char*, const std::uint32_t&) { size_ += 3; }
    void rows(const char*, const SharedBytes& rows, std::size_t) { size_ += 4 + rows.size(); }
    template <class Element, class Describe>
    void counted(const char*, const std::vector<Element>& elements, std::size_t,
                 Describe&& element) {
        size_ += 4;
        for (const Element& each : elements)
            element(*this, each);
    }
    void pascalString(const char*, const std::string& text) {
        size_ += 1 + std::min<std::size_t>(text.size(), 255);
    }
    void remainder(const char*, const SharedBytes& bytes) { size_ += bytes.size(); }

    std::size_t sizeInBytes() const { return size_; }

  private:
    std::size_t size_ = 0;
};

/// Writes one line of text for each field.
class FieldDumper : public CompositeFields<FieldDumper> {
  public:
    static constexpr bool kReads = false;

    template <std::integral Value>
    void field(const char* name, const Value& value) {
        line(name, std::to_string(+value));
    }
    void field24(const char* name, const std::uint32_t& value) { field(name, value); }
    void rows(const char* name, const SharedBytes& rows, std::size_t bytesPerRow);
    template <class Element, class Describe>
    void counted(const char* name, const std::vector<Element>& elements, std::size_t,
                 Describe&& element) {
        line(name, std::to_string(elements.size()));
        for (const Element& each : elements)
            element(*this, each);
    }
    void pascalString(const char* name, const std::string& text) { line(name, '"' + text + '"'); }
    void remainder(const char* name, const SharedBytes& bytes) {
        line(name, std::to_string(bytes.size()) + " bytes");
    }

    const std::string& text() const { return text_; }

  private:
    void line(const char* name, const std::string& value) {
        text_.append(name).append(": ").append(value).append("\n");
    }
    std::string text_;
};

/// An atom that was read, and the bytes after its last field.
template <class Atom>
struct Parsed {
    Atom atom;
    SharedBytes rest;
};

template <class Atom>
std::vector<std::byte> fieldsOf(const Atom& atom) {
    std::vector<std::byte> bytes;
    FieldWriter writer(bytes);
    Atom::describe(writer, atom);
    return bytes;
}

template <class Atom>
std::size_t measureFields(const Atom& atom) {
    FieldMeasurer measurer;
    Atom::describe(measurer, atom);
    return measurer.sizeInBytes();
}

template <class Atom>
std::string dumpFields(const Atom& atom) {
    FieldDumper dumper;
    Atom::describe(dumper, atom);
    return dumper.text();
}

/// Equal when all fields that would be written are.
template <class Atom>
bool sameFields(const Atom& a, const Atom& b) {
    return fieldsOf(a) == fieldsOf(b);
}

}  // namespace TWQuickTime::moviefile
