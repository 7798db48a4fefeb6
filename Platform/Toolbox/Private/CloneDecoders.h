// Decoders of a movie's clones, kept for the next clone.
//
// A frame of a movie is drawn by a clone that goes right afterwards, and the next frame by another
// clone. What the decoders of one have reached serves the next, for as long as the movie itself
// lives. A movie and its clones are tied together by the handle that the movie was put into; what
// was kept is used only by a movie of the very same bytes that looks the same.
#pragma once

#include <memory>
#include <mutex>
#include <optional>

#include "Engines/timeline/Movie.h"
#include "Engines/timeline/SharedBytes.h"
#include "Engines/transcode/MovieRenderer.h"
#include "Handles.h"
#include "MovieTypes.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// A renderer with what it reads.
struct DrawnMovie {
    /// Null when the renderer reads the movie of the record that it belongs to.
    std::unique_ptr<timeline::Movie> movie;
    std::unique_ptr<transcode::MovieRenderer> renderer;
};

class CloneDecoders {
  public:
    /// What is kept for the clones of a movie that was put into this handle last; null when no
    /// such movie lives.
    static std::shared_ptr<CloneDecoders> ofMovieIn(Handle handle);

    /// The owning movie was put into this handle.
    static void movieWasPutInto(Handle handle, std::shared_ptr<CloneDecoders>& decoders);

    /// @param atom  the bytes that the movie was made of
    /// @param looks  a hash over what was changed since and how it is drawn
    void keep(const timeline::SharedBytes& atom, std::uint64_t looks, DrawnMovie drawn);
    /// Gives away what was kept, if it is of such a movie.
    std::optional<DrawnMovie> take(const timeline::SharedBytes& atom, std::uint64_t looks);
    /// How many samples what is kept has decoded so far.
    std::uint64_t decodedSamples();

  private:
    std::mutex mutex_;
    Handle handle_ = nullptr;
    timeline::SharedBytes atom_;
    std::uint64_t looks_ = 0;
    std::optional<DrawnMovie> kept_;
};

/// How many samples the decoders that are kept for a movie's clones have decoded; for tests.
TWQT_EXPORT std::uint64_t samplesDecodedForClonesOf(Movie movie);

}  // namespace TWQuickTime
