// Where a writer puts atoms: into bytes, or into nothing but a count of them.
//
//     AtomSink sink(bytes);
//     {
//         const AtomScope track = sink.open(fourCharCode("trak"));
//         sink.put(TrackHeaderAtom{…});
//     }                                      // the size of 'trak' is known and filled in
#pragma once

#include <cstdint>
#include <vector>

#include "Engines/moviefile/AtomFields.h"
#include "Engines/moviefile/AtomWalker.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::moviefile {

class AtomScope;

class AtomSink {
  public:
    /// Counts only.
    AtomSink() = default;
    explicit AtomSink(std::vector<std::byte>& out) : out_(&out) {}

    /// Begins an atom, which ends with the scope.
    /// @param headerSizeInBytes  8; 16 keeps the 64-bit size of an atom that had one
    [[nodiscard]] AtomScope open(FourCharCode type, std::size_t headerSizeInBytes = 8);

    void bytes(std::span<const std::byte> bytes);
    /// A whole atom with the fields of `atom`, and the bytes that followed them when it was read.
    template <class Atom>
    void put(const Atom& atom, const SharedBytes& rest = {}, std::size_t headerSizeInBytes = 8);
    /// The fields of an atom without a header.
    template <class Atom>
    void fields(const Atom& atom) {
        if (!out_) {
            position_ += measureFields(atom);
            return;
        }
        FieldWriter writer(*out_);
        Atom::describe(writer, atom);
        position_ = out_->size();
    }

    std::uint64_t sizeInBytes() const { return position_; }
    void fail(result::Failure failure) {
        if (status_)
            status_ = std::move(failure);
    }
    const result::Status& status() const { return status_; }

  private:
    friend class AtomScope;
    void close(std::uint64_t start, FourCharCode type, std::size_t headerSizeInBytes);

    std::vector<std::byte>* out_ = nullptr;
    std::uint64_t position_ = 0;
    result::Status status_;
};

/// Ends an atom.
class AtomScope {
  public:
    AtomScope(AtomSink& sink, FourCharCode type, std::size_t headerSizeInBytes)
        : sink_(sink),
          start_(sink.sizeInBytes()),
          type_(type),
          headerSizeInBytes_(headerSizeInBytes) {
        static constexpr std::array<std::byte, 16> kRoomForHeader{};
        sink.bytes(std::span(kRoomForHeader).first(headerSizeInBytes));
    }
    ~AtomScope() { sink_.close(start_, type_, headerSizeInBytes_); }
    AtomScope(const AtomScope&) = delete;
    AtomScope& operator=(const AtomScope&) = delete;

  private:
    AtomSink& sink_;
    std::uint64_t start_;
    FourCharCode type_;
    std::size_t headerSizeInBytes_;
};

template <class Atom>
void AtomSink::put(const Atom& atom, const SharedBytes& rest, std::size_t headerSizeInBytes) {
    const AtomScope scope = open(Atom::type, headerSizeInBytes);
    fields(atom);
    bytes(rest);
}

}  // namespace TWQuickTime::moviefile
