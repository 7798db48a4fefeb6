// One sample description: the record that tells how the samples which refer to it are coded.
//
// It is kept as the bytes of the file ('stsd' entry with its size and format), so that extensions
// nobody here understands survive. moviefile/descriptions parse and build the known kinds.
#pragma once

#include <cstdint>

#include "Engines/timeline/FourCharCode.h"
#include "Engines/timeline/SharedBytes.h"

namespace TWQuickTime::timeline {

/// Size, format, six reserved bytes, data reference index.
constexpr std::size_t kSampleDescriptionHeadInBytes = 16;

class SampleDescription {
  public:
    SampleDescription() = default;
    /// @param bytes  the whole record, at least its head of 16 bytes
    explicit SampleDescription(SharedBytes bytes) : bytes_(std::move(bytes)) {}

    /// Whether the head of 16 bytes is there; the other calls answer 0 without it.
    bool isComplete() const { return bytes_.size() >= kSampleDescriptionHeadInBytes; }
    const SharedBytes& bytes() const { return bytes_; }
    /// The codec's type, 'avc1' for example.
    FourCharCode format() const;
    /// From 1; 0 in records that were never in a file.
    std::uint16_t dataReferenceIndex() const;
    void setFormat(FourCharCode format);
    void setDataReferenceIndex(std::uint16_t index);

    bool operator==(const SampleDescription&) const = default;

  private:
    SharedBytes bytes_;
};

}  // namespace TWQuickTime::timeline
