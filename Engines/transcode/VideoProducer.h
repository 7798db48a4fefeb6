// The pictures of an export, one after the other, and how its encoder wants them.
#pragma once

#include <memory>
#include <optional>

#include "Engines/codec/VideoEncoder.h"
#include "Engines/transcode/ExportSettings.h"
#include "Engines/transcode/MovieRenderer.h"

namespace TWQuickTime::transcode {

class VideoProducer {
  public:
    /// Opens the renderer and an encoder that suits what comes out of it.
    /// `notFound` when the movie shows no pictures.
    static result::Expected<std::unique_ptr<VideoProducer>> open(
        const timeline::Movie& movie, const timeline::Track* onlyTrack, std::int64_t start,
        std::int64_t duration, const VideoSettings& settings, FileKind kind);

    codec::VideoEncoder& encoder() { return *encoder_; }
    std::int32_t timeScale() const { return timeScale_; }
    /// Of all pictures together, in timeScale() units.
    std::int64_t duration() const { return outputDuration_; }
    std::optional<codec::CleanAperture> cleanAperture() const;
    /// The track whose facts go along with the pictures.
    const timeline::Track& mainTrack() const { return renderer_->mainTrack().track(); }

    /// The next picture as it was decoded or composed; none at the end.
    result::Expected<std::optional<codec::VideoFrame>> next();
    /// The picture as the encoder wants it. May be called from another thread than next().
    result::Expected<codec::VideoFrame> prepared(const codec::VideoFrame& picture);

  private:
    VideoProducer() = default;
    void planTimes(const timeline::Movie& movie, std::int64_t start, std::int64_t duration,
                   const VideoSettings& settings, FileKind kind);
    /// Where the next picture begins and ends, renderer time units; false at the end.
    bool advance();

    std::unique_ptr<MovieRenderer> renderer_;
    std::unique_ptr<codec::VideoEncoder> encoder_;
    codec::PixelConverter converter_;
    codec::Rational rate_;
    bool constantRate_ = false;
    std::int32_t timeScale_ = 600;
    std::int64_t outputDuration_ = 0;
    std::int64_t leastLength_ = 1;  ///< of a picture, output time units
    // Renderer time units.
    std::int64_t start_ = 0;
    std::int64_t end_ = 0;
    std::int64_t at_ = 0;
    std::int64_t nextAt_ = 0;
    // Output time units, and the number of the picture.
    std::int64_t outputTime_ = 0;
    std::int64_t outputEnd_ = 0;
    std::int64_t number_ = 0;
    std::int64_t count_ = 0;
};

}  // namespace TWQuickTime::transcode
