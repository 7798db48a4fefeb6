// What a movie shows at a time, as one picture.
//
// All enabled visual tracks are composed by layer, matrix, graphics mode and clip into the movie
// box. A movie of one upright track is not composed: its decoder's frames are handed on as they
// are.
//
//     auto renderer = MovieRenderer::open(movie, {.width = 320, .height = 240});
//     auto picture = (*renderer)->renderFrame({5, 2}, PixelFormat::bgra32());
//
// The movie must outlive the renderer and not change under it. Not for use from two threads at
// once; decoders may use threads of their own inside the calls.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Engines/codec/PixelConverter.h"
#include "Engines/timeline/Movie.h"
#include "Engines/transcode/ClipMask.h"
#include "Engines/transcode/Compositing.h"
#include "Engines/transcode/VideoTrackReader.h"

namespace TWQuickTime::transcode {

struct RenderOptions {
    /// Of the pictures; 0: the movie box's size in square pixels, or with `storedSize` that of the
    /// only track's stored pixels.
    int width = 0;
    int height = 0;
    /// Uncovered places are transparent instead of black.
    bool alpha = false;
    /// With size 0: keep stored pixels and their aspect ratio where nothing else changes them.
    bool storedSize = false;
    /// Sizes are made even, as chroma subsampling wants it.
    bool evenSize = false;
    /// Only this track, enabled or not; null: all enabled ones.
    const timeline::Track* onlyTrack = nullptr;
    /// Of each track.
    TrackReadingOptions reading = {};
};

class MovieRenderer {
  public:
    /// `notFound` when no track can be seen.
    static result::Expected<std::unique_ptr<MovieRenderer>> open(const timeline::Movie& movie,
                                                                 const RenderOptions& options);

    /// The picture at a time. Its size is width() x height() once converted; without conversion
    /// (`renderNative`) it may be the decoder's own.
    result::Expected<codec::VideoFrame> renderNative(Time movieTime);
    /// As above, converted to a pixel format and to width() x height().
    result::Expected<codec::VideoFrame> renderFrame(Time movieTime, codec::PixelFormat format);

    /// The next time after the given one at which the picture may change, in units of timeScale();
    /// none when it stays as it is to the end of the movie.
    std::optional<std::int64_t> nextChange(Time movieTime) const;

    int width() const { return width_; }
    int height() const { return height_; }
    codec::Rational pixelAspect() const { return pixelAspect_; }
    std::optional<codec::CleanAperture> cleanAperture() const;
    /// Units in which all changes of the picture fall on whole numbers, as far as that is possible.
    std::int64_t timeScale() const { return timeScale_; }
    /// When the last track ends, in units of timeScale(); nothing is shown from then on.
    std::int64_t endTime() const;
    /// The frontmost track's facts, for choosing formats.
    const VideoTrackReader& mainTrack() const { return *layers_.back().reader; }
    /// Format and colours of what renderNative() will give, as far as can be told beforehand.
    codec::PixelFormat expectedFormat(Time movieTime);
    bool isDirect() const { return direct_; }
    /// How many samples were handed to decoders so far.
    std::uint64_t decodedSamples() const;

  private:
    struct Layer {
        std::unique_ptr<VideoTrackReader> reader;
        /// From track pixels to canvas pixels, column vectors: x' = a·x + c·y + x0.
        Affine forward;
        DrawingMode mode;
        std::optional<ClipMask> clip;
        codec::PixelConverter converter;
    };

    void layOut(const timeline::Movie& movie, const RenderOptions& options);
    void chooseTimeScale(const timeline::Movie& movie);
    result::Expected<codec::VideoFrame> blankCanvas() const;
    result::Status draw(Layer& layer, const codec::VideoFrame& frame, codec::VideoFrame& canvas);
    result::Status drawWhole(Layer& layer, const codec::VideoFrame& frame,
                             codec::VideoFrame& canvas);

    std::vector<Layer> layers_;  ///< back to front
    bool direct_ = false;
    bool alpha_ = false;
    int width_ = 0;
    int height_ = 0;
    codec::Rational pixelAspect_{1, 1};
    bool storedSize_ = false;
    std::int64_t timeScale_ = 600;
    codec::PixelConverter converter_;
};

/// The part of a decoded picture that a track of that size shows: the clean aperture when the
/// track's size is that of the clean aperture, else all of it.
result::Expected<codec::VideoFrame> shownPart(const codec::VideoFrame& frame,
                                              const codec::VideoDescription& description,
                                              const timeline::Track& track);

}  // namespace TWQuickTime::transcode
