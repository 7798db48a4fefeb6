// The pictures of one track, at any time of its movie.
//
// Asking forward in time decodes each sample once; asking here and there decodes from the sync
// sample before and no further than the picture, unless the picture is among those kept. A sample
// that cannot be decoded is stood in for by the picture before it.
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

struct TrackReadingOptions {
    codec::VideoDecoderOptions decoding = {};
    /// How many bytes of decoded pictures to keep for being asked for again; 0: only the last one.
    std::size_t keptBytes = 0;
    /// Pictures are asked for here and there, perhaps only one: a first one near its sync sample is
    /// decoded by one thread, as threads take longer to start than they save.
    bool singlePictures = false;
};

class VideoTrackReader {
  public:
    /// Movie and track must outlive the reader and not change under it.
    static result::Expected<std::unique_ptr<VideoTrackReader>> open(
        const timeline::Movie& movie, const timeline::Track& track,
        const TrackReadingOptions& options);

    /// The picture shown at a time, its times in media units; none where the track shows nothing.
    result::Expected<std::optional<codec::VideoFrame>> frameAt(Time movieTime);

    /// The next time after the given one at which the track may show something else, in units of
    /// `scale`; none after the end of the track.
    std::optional<std::int64_t> nextChange(Time movieTime, std::int64_t scale) const;

    const timeline::Track& track() const { return track_; }
    /// Of the first sample description.
    const codec::VideoDescription& description() const { return description_; }
    const EditMap& edits() const { return edits_; }
    /// How many samples were handed to decoders so far.
    std::uint64_t decodedSamples() const { return decodedSamples_; }

  private:
    VideoTrackReader(const timeline::Movie& movie, const timeline::Track& track,
                     const TrackReadingOptions& options);

    result::Expected<codec::VideoFrame> frameAtPosition(std::size_t position);
    /// The sync sample from which decoding leads to a shown sample.
    std::uint32_t startFor(const ShownSample& wanted) const;
    /// @param wanted  the sample to which decoding shall lead
    result::Status startAt(std::uint32_t syncSample, const ShownSample& wanted);
    void advanceTo(codec::VideoFrame frame);
    const codec::VideoFrame* keptFrame(std::int64_t displayTime) const;
    result::Status openDecoder(std::uint32_t descriptionIndex);
    /// @param wantedTime  of display, in media units: what is shown before may be left out
    result::Status feedOne(std::int64_t wantedTime);
    /// Lets the decoder give what it holds; it goes on only from a sync sample then.
    result::Status drain();
    /// Whether decoding goes on from where it is to a shown sample.
    bool canGoOnTo(std::size_t position) const;

    const timeline::Track& track_;
    const timeline::Media& media_;
    TrackReadingOptions options_;
    EditMap edits_;
    DisplayOrder order_;
    codec::VideoDescription description_;
    std::unique_ptr<codec::VideoDecoder> decoder_;
    std::uint32_t decoderDescription_ = 0;
    bool hasOneThread_ = false;
    timeline::SampleTable::Cursor cursor_;
    std::uint32_t nextSample_ = 0;
    bool started_ = false;
    bool ended_ = false;
    bool drained_ = false;  ///< ended before the last sample
    bool losesByDraining_ = false;
    /// How many pictures in a row were not asked for shortly after the one before.
    int jumps_ = 0;
    /// Frames that came out of the decoder and may be asked for, in display order.
    std::deque<codec::VideoFrame> decoded_;
    std::optional<codec::VideoFrame> current_;
    std::size_t currentPosition_ = 0;
    /// Frames that were current before, the latest last.
    std::deque<codec::VideoFrame> kept_;
    std::uint64_t decodedSamples_ = 0;
};

}  // namespace TWQuickTime::transcode
