// A track: what a movie shows, when, of one media.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Engines/timeline/EditList.h"
#include "Engines/timeline/Matrix.h"
#include "Engines/timeline/Media.h"
#include "Engines/timeline/Origin.h"
#include "Engines/timeline/UserData.h"

namespace TWQuickTime::timeline {

constexpr std::uint32_t kTrackEnabled = 1;
constexpr std::uint32_t kTrackInMovie = 2;
constexpr std::uint32_t kTrackInPreview = 4;
constexpr std::uint32_t kTrackInPoster = 8;

/// All references of one type from a track to others. Indexes count from 1 on the outside;
/// track ID 0 is a slot that is not in use.
struct TrackReferences {
    FourCharCode type = 0;  ///< 'tmcd', 'chap', 'ssrc', …
    std::vector<std::uint32_t> trackIDs;
    bool operator==(const TrackReferences&) const = default;
};

/// What to load before playing ('load').
struct Preload {
    std::uint32_t startTime = 0;  ///< movie time units
    std::uint32_t duration = 0;   ///< movie time units
    std::uint32_t flags = 0;      ///< 1 always, 2 only when the track is enabled
    std::uint32_t hints = 0;      ///< 0x20 double buffer, 0x100 high quality
    bool operator==(const Preload&) const = default;
};

struct Dimensions {
    Fixed width = 0;   ///< 16.16 pixels
    Fixed height = 0;  ///< 16.16 pixels
    bool operator==(const Dimensions&) const = default;
};

/// Sizes for the aperture modes ('tapt').
struct ApertureDimensions {
    std::optional<Dimensions> cleanAperture;
    std::optional<Dimensions> production;
    std::optional<Dimensions> encodedPixels;
    bool operator==(const ApertureDimensions&) const = default;
    bool empty() const { return !cleanAperture && !production && !encodedPixels; }
};

struct Track {
    std::uint32_t id = 0;  ///< unique in the movie, from 1
    std::uint32_t flags = kTrackEnabled | kTrackInMovie | kTrackInPreview | kTrackInPoster;
    std::uint64_t creationTime = 0;      ///< seconds since 1904-01-01 00:00 UTC
    std::uint64_t modificationTime = 0;  ///< seconds since 1904-01-01 00:00 UTC
    std::int16_t layer = 0;              ///< lower is nearer to the front
    std::int16_t alternateGroup = 0;     ///< 0: none
    std::int16_t volume = 0x100;         ///< 8.8
    Matrix matrix = kIdentityMatrix;
    Dimensions dimensions;
    EditList edits;
    std::vector<TrackReferences> references;
    std::optional<Preload> preload;
    ApertureDimensions aperture;
    UserData userData;
    std::unique_ptr<Media> media;  ///< none in a track that was just made
    std::shared_ptr<const Origin> origin;

    bool enabled() const { return (flags & kTrackEnabled) != 0; }
    void setEnabled(bool enabled);
    /// The sum of the edits, in movie time units.
    std::int64_t duration() const { return edits.duration(); }

    /// The references of one type; null when there are none.
    const TrackReferences* referencesOfType(FourCharCode type) const;
    /// Adds a reference and returns its index from 1; an unused slot is not reused.
    std::uint32_t addReference(FourCharCode type, std::uint32_t trackID);
    /// Makes a slot point elsewhere (0: nowhere); false when there is no such slot.
    bool setReference(FourCharCode type, std::uint32_t index, std::uint32_t trackID);
    /// Takes a slot out; later ones move down. False when there is no such slot.
    bool deleteReference(FourCharCode type, std::uint32_t index);
};

}  // namespace TWQuickTime::timeline
