// All sound of a movie, mixed.
//
// Every enabled sound track is decoded, resampled and added with its volume; edits with gaps,
// rates and dwells are honoured to the frame of sound. Sums beyond full scale stop at it, nothing
// below it is touched.
//
//     auto mixer = SoundMixer::open(movie, {.channels = 2, .sampleRate = 48000}, start, nullptr);
//     (*mixer)->mix(4096, samples);
//
// The movie must outlive the mixer and not change under it. Not for use from two threads at once.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Engines/codec/Resampler.h"
#include "Engines/timeline/Movie.h"
#include "Engines/transcode/SoundTrackReader.h"
#include "Engines/transcode/Time.h"

namespace TWQuickTime::transcode {

class SoundMixer {
  public:
    /// `notFound` when no track can be heard.
    /// @param start      the time of the first frame that mix() gives
    /// @param onlyTrack  enabled or not; null: all enabled ones
    static result::Expected<std::unique_ptr<SoundMixer>> open(const timeline::Movie& movie,
                                                              codec::SoundFormat format, Time start,
                                                              const timeline::Track* onlyTrack);
    ~SoundMixer();

    /// Replaces the contents by the next frames, interleaved; silence after the movie's end.
    result::Status mix(std::size_t frames, std::vector<float>& samples);
    /// The next mix() begins there.
    /// @param frame  counted, at the mixer's rate, from the movie's beginning
    void seek(std::int64_t frame) { position_ = frame - origin_; }

  private:
    class Voice;
    SoundMixer() = default;

    codec::SoundFormat format_;
    std::vector<std::unique_ptr<Voice>> voices_;
    std::int64_t origin_ = 0;
    std::int64_t position_ = 0;
    std::vector<float> voiceSamples_;
};

/// Rate and channels of the movie's loudest-to-be sound: the highest rate and the most channels of
/// all tracks that can be heard. Channels 0: there is no sound.
codec::SoundFormat naturalSoundFormat(const timeline::Movie& movie,
                                      const timeline::Track* onlyTrack);

/// The tracks that can be heard.
std::vector<const timeline::Track*> soundTracks(const timeline::Movie& movie,
                                                const timeline::Track* onlyTrack);

}  // namespace TWQuickTime::transcode
