// In which form movies, tracks and medias were read: what the reader leaves for the writer.
#pragma once

#include "Engines/moviefile/AtomWalker.h"
#include "Engines/timeline/EditList.h"
#include "Engines/timeline/Origin.h"

namespace TWQuickTime::moviefile {

struct MovieOrigin : timeline::Origin {
    AtomView atom;  ///< 'moov', uncompressed
    /// As it was in the file, when it was compressed there; else empty.
    SharedBytes compressedAtom;
    std::int64_t durationWhenRead = 0;
    std::uint32_t timeScaleWhenRead = 0;
    bool fragmented = false;
};

struct TrackOrigin : timeline::Origin {
    AtomView atom;  ///< 'trak'
    std::int64_t durationWhenRead = 0;
    /// The edits that the track got because the file has no list, or one whose end depends on
    /// fragments; none when the list was taken as it is.
    std::optional<timeline::EditList> readAs;
    bool fragmented = false;
    std::uint32_t movieScaleWhenRead = 0;
    /// The media's input map, when the track held it instead of the media.
    SharedBytes inputMapInTrack;
};

struct MediaOrigin : timeline::Origin {
    AtomView atom;  ///< 'mdia'
    std::int64_t durationWhenRead = 0;
    /// The samples come from fragments; the tables of the atom do not hold them all.
    bool fragmented = false;
    /// Of a fragmented media: how many samples it had with all fragments.
    std::uint32_t sampleCountWhenRead = 0;
};

}  // namespace TWQuickTime::moviefile
