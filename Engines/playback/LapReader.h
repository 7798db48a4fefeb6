// The sound of a movie's range, lap after lap, as if it were one long piece.
//
// Short laps are decoded once and kept, so that even a range of one frame costs nothing.
#pragma once

#include <memory>
#include <vector>

#include "Engines/playback/PlayPlan.h"
#include "Engines/transcode/SoundMixer.h"

namespace TWQuickTime::playback {

class LapReader {
  public:
    /// A movie without sound gives silence. The movie outlives the reader.
    static result::Expected<std::unique_ptr<LapReader>> open(const timeline::Movie& movie,
                                                             codec::SoundFormat format);

    const codec::SoundFormat& format() const { return format_; }

    /// The next read begins at the plan's start and follows its range.
    void begin(const PlayPlan& plan);
    /// Appends exactly so many frames; silence after the end, and where nothing can be decoded.
    void read(std::size_t frames, std::vector<float>& appendTo);

  private:
    /// Laps of more frames are decoded each time.
    static constexpr std::int64_t kKeptFrames = 1 << 18;

    LapReader(codec::SoundFormat format, std::unique_ptr<transcode::SoundMixer> mixer)
        : format_(format), mixer_(std::move(mixer)) {}

    void keepLap();
    void decode(std::int64_t position, std::size_t frames, std::vector<float>& appendTo);

    codec::SoundFormat format_;
    std::unique_ptr<transcode::SoundMixer> mixer_;
    std::int64_t mixerPosition_ = 0;
    std::vector<float> mixed_;

    PlayRange range_;
    bool loops_ = false;
    std::int64_t position_ = 0;
    PlayRange keptRange_;
    std::vector<float> kept_;
};

}  // namespace TWQuickTime::playback
