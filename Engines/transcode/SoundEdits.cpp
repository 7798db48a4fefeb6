#include "Engines/transcode/SoundEdits.h"

#include <algorithm>

#include "Engines/timeline/Rescale.h"
#include "Engines/transcode/SoundEnd.h"

namespace TWQuickTime::transcode {

SoundEdits::SoundEdits(const timeline::Movie& movie, const timeline::Track& track,
                       std::int64_t sampleRate)
    : track_(track),
      movieScale_(std::max<std::uint32_t>(movie.timeScale, 1)),
      sampleRate_(sampleRate),
      soundEnd_(soundEnd(movie, track, sampleRate)) {}

std::int64_t SoundEdits::framesAt(std::int64_t movieTime) const {
    return timeline::rescale(movieTime, movieScale_, sampleRate_);
}

std::int64_t SoundEdits::endOfEdit(std::size_t index) const {
    return index + 1 == track_.edits.size() ? soundEnd_
                                            : framesAt(track_.edits.at(index).trackEnd());
}

SoundPiece SoundEdits::at(std::int64_t frame) const {
    // Edges fall on whole frames, so the edit is looked for by its edges in frames.
    SoundPiece piece;
    std::size_t low = 0, high = track_.edits.edits().size();
    const std::size_t count = high;
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        if (endOfEdit(middle) <= frame) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    if (low == count) {
        piece.end = INT64_MAX;
        return piece;
    }
    const timeline::PlacedEdit placed = track_.edits.at(low);
    piece.begin = framesAt(placed.trackStart);
    piece.end = endOfEdit(low);
    piece.edit = placed.edit;
    piece.index = low;
    piece.silent = placed.edit.isEmpty() || placed.edit.rate <= 0;
    return piece;
}

}  // namespace TWQuickTime::transcode
