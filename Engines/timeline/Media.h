// A media: samples of one type on a time scale of their own, whatever a track shows of them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Engines/timeline/DataReference.h"
#include "Engines/timeline/Origin.h"
#include "Engines/timeline/SampleDescription.h"
#include "Engines/timeline/SampleTable.h"
#include "Engines/timeline/UserData.h"

namespace TWQuickTime::timeline {

/// What plays a media: the fields of its handler record.
struct Handler {
    FourCharCode componentType = fourCharCode("mhlr");  ///< 0 in ISO files
    FourCharCode subtype = 0;                           ///< 'vide', 'soun', 'tmcd', …
    FourCharCode manufacturer = 0;
    std::uint32_t flags = 0;
    std::uint32_t flagsMask = 0;
    std::string name;  ///< the bytes of the file, in whatever encoding
    bool operator==(const Handler&) const = default;
};

struct Media {
    Handler handler;
    std::uint32_t timeScale = 600;       ///< units per second, at least 1
    std::uint64_t creationTime = 0;      ///< seconds since 1904-01-01 00:00 UTC
    std::uint64_t modificationTime = 0;  ///< seconds since 1904-01-01 00:00 UTC
    std::uint16_t language = 0;          ///< below 0x400 a classic code, else three 5-bit letters
    std::uint16_t quality = 0;
    /// How pictures combine with those behind them ('vmhd', 'gmin').
    std::uint16_t graphicsMode = 0;
    std::array<std::uint16_t, 3> opColor = {0, 0, 0};
    std::int16_t balance = 0;  ///< 8.8, −1 left … 1 right
    std::vector<SampleDescription> descriptions;
    std::vector<DataReference> dataReferences;
    SampleTable samples;
    UserData userData;
    /// The flat bytes of the atom container that maps track references to inputs; none: empty.
    SharedBytes inputMap;
    std::shared_ptr<const Origin> origin;

    FourCharCode type() const { return handler.subtype; }
    /// Media time units. That of the file until samples are appended, then the samples' sum.
    std::int64_t duration() const;
    /// What the file said; negative: nothing, the samples' sum holds.
    std::int64_t storedDuration = -1;

    /// The description that a sample names (from 1); null when there is none.
    const SampleDescription* description(std::uint32_t index) const;
    /// The data reference of a sample description (from 1); null when there is none.
    const DataReference* dataReferenceOfDescription(std::uint32_t descriptionIndex) const;
    /// The store that holds a sample's bytes; null when unresolved or missing.
    SampleStore* storeOfDescription(std::uint32_t descriptionIndex) const;
    /// The index (from 1) of an equal description, which is added when there is none yet.
    std::uint32_t addDescription(const SampleDescription& description);
    /// Reads a sample's bytes.
    result::Expected<std::vector<std::byte>> readSample(const Sample& sample) const;
};

}  // namespace TWQuickTime::timeline
