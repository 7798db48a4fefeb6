// A track's edits in frames of sound at a rate.
//
//     SoundEdits edits(movie, track, 48000);
//     SoundPiece piece = edits.at(96000);      // what sounds after two seconds
#pragma once

#include <cstdint>

#include "Engines/timeline/Movie.h"

namespace TWQuickTime::transcode {

/// A stretch of one edit, or of silence.
struct SoundPiece {
    bool silent = true;
    std::int64_t begin = 0, end = 0;  ///< frames from the movie's beginning
    std::size_t index = 0;            ///< of the edit
    timeline::Edit edit;
};

class SoundEdits {
  public:
    /// Movie and track must outlive this and not change under it.
    SoundEdits(const timeline::Movie& movie, const timeline::Track& track, std::int64_t sampleRate);

    /// The piece that covers a frame; after the last edit, silence without end.
    SoundPiece at(std::int64_t frame) const;

  private:
    std::int64_t framesAt(std::int64_t movieTime) const;
    std::int64_t endOfEdit(std::size_t index) const;

    const timeline::Track& track_;
    std::uint32_t movieScale_;
    std::int64_t sampleRate_;
    std::int64_t soundEnd_;  ///< frames
};

}  // namespace TWQuickTime::transcode
