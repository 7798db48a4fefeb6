// The pictures of one track, at any time of its movie.
//
// Asking forward in time decodes each sample once; asking elsewhere decodes from the sync sample
// before. A sample that cannot be decoded is stood in for by the picture before it.
//
//     auto reader = VideoTrackReader::open(movie, track, {});
//     auto frame = (*reader)->frameAt({1, 25});     // none in gaps of the track
//
// Not for use from two threads at once.
#pragma once

#include <deque>
#include <memory>
#include <optional>

#include "Engines/codec/VideoDecoder.h"
#include "Engines/timeline/Movie.h"
#include "Engines/transcode/DisplayOrder.h"
#include "Engines/transcode/EditMap.h"

namespace TWQuickTime::transcode {

class VideoTrackReader {
  public:
    /// Movie and track must outlive the reader and not change under it.
    static result::Expected<std::unique_ptr<VideoTrackReader>> open(
        const timeline::Movie& movie, const timeline::Track& track,
        const codec::VideoDecoderOptions& options);

    /// The picture shown at a time, its times in media units; none where the track shows nothing.
    result::Expected<std::optional<codec::VideoFrame>> frameAt(Time movieTime);

    /// The next time after the given one at which the track may show something else, in units of
    /// `scale`; none after the end of the track.
    std::optional<std::int64_t> nextChange(Time movieTime, std::int64_t scale) const;

    const timeline::Track& track() const { return track_; }
    /// Of the first sample description.
    const codec::VideoDescription& description() const { return description_; }
    const EditMap& edits() const { return edits_; }

  private:
    VideoTrackReader(const timeline::Movie& movie, const timeline::Track& track,
                     const codec::VideoDecoderOptions& options);

    result::Expected<codec::VideoFrame> frameAtPosition(std::size_t position);
    result::Status startAt(std::uint32_t sampleIndex);
    result::Status openDecoder(std::uint32_t descriptionIndex);
    /// @param wantedTime  of display, in media units: what is shown before may be left out
    result::Status feedOne(std::int64_t wantedTime);

    const timeline::Track& track_;
    const timeline::Media& media_;
    codec::VideoDecoderOptions options_;
    EditMap edits_;
    DisplayOrder order_;
    codec::VideoDescription description_;
    std::unique_ptr<codec::VideoDecoder> decoder_;
    std::uint32_t decoderDescription_ = 0;
    timeline::SampleTable::Cursor cursor_;
    std::uint32_t nextSample_ = 0;
    bool started_ = false;
    bool ended_ = false;
    /// Frames that came out of the decoder and may be asked for, in display order.
    std::deque<codec::VideoFrame> decoded_;
    std::optional<codec::VideoFrame> current_;
    std::size_t currentPosition_ = 0;
};

}  // namespace TWQuickTime::transcode
