// The decoded sound of one track's media, from any frame of sound on.
//
//     auto reader = SoundTrackReader::open(track);
//     (*reader)->seek(48000);
//     (*reader)->read(1024, samples);     // interleaved; silence where the media has none
//
// Not for use from two threads at once.
#pragma once

#include <memory>
#include <vector>

#include "Engines/codec/SoundDecoder.h"
#include "Engines/timeline/Track.h"

namespace TWQuickTime::transcode {

class SoundTrackReader {
  public:
    /// The track must outlive the reader and not change under it.
    static result::Expected<std::unique_ptr<SoundTrackReader>> open(const timeline::Track& track);

    int channels() const { return channels_; }
    double sampleRate() const { return sampleRate_; }

    /// The next read() begins there. Positions count frames of sound from media time 0.
    void seek(std::int64_t frame);
    /// Appends exactly so many frames. Damaged packets sound as silence.
    void read(std::size_t frames, std::vector<float>& appendTo);

  private:
    explicit SoundTrackReader(const timeline::Track& track)
        : media_(*track.media), samples_(track.media->samples) {}

    void renewDecoder();
    void startDecodingAt(std::int64_t frame);
    /// Decodes more into pending_; false at the end of the media.
    bool decodeMore();
    bool decodePackets();
    bool decodeRuns();
    /// Makes what was decoded the sound that is to be read next. Takes the block's samples away.
    void take(codec::SoundBlock& block, std::size_t expectedFrames);
    /// A packet's bytes, valid until the next call; empty where they cannot be read.
    codec::Bytes bytesOf(const timeline::Sample& sample);
    void readAhead(const timeline::Sample& sample, const timeline::SampleStore* store);

    const timeline::Media& media_;
    const timeline::SampleTable& samples_;
    std::unique_ptr<codec::SoundDecoder> decoder_;
    bool hasDecoded_ = false;
    codec::SoundPacking packing_;
    /// Samples are frames of sound that lie packed in chunks (PCM and the like).
    bool packed_ = false;
    int channels_ = 0;
    double sampleRate_ = 0;

    std::int64_t position_ = 0;    ///< of the next read
    std::int64_t decodedTo_ = -1;  ///< the frame behind pending_; -1: not started
    std::vector<float> pending_;   ///< decoded sound that was not read yet
    std::size_t pendingStart_ = 0;
    std::uint32_t nextSample_ = 0;           ///< of packed sound
    timeline::SampleTable::Cursor packets_;  ///< of other sound
    const timeline::SampleStore* aheadStore_ = nullptr;
    std::uint64_t aheadOffset_ = 0;
    std::vector<std::byte> ahead_;  ///< read, from packets that follow each other in a chunk
    codec::SoundBlock block_;
};

}  // namespace TWQuickTime::transcode
