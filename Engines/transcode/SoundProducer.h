// The sound of an export, block by block, ready for its encoder.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Engines/codec/SoundEncoder.h"
#include "Engines/transcode/ExportSettings.h"
#include "Engines/transcode/SoundMixer.h"

namespace TWQuickTime::transcode {

class SoundProducer {
  public:
    /// Opens the mixer and an encoder. `notFound` when the movie has no sound.
    static result::Expected<std::unique_ptr<SoundProducer>> open(
        const timeline::Movie& movie, const timeline::Track* onlyTrack, std::int64_t start,
        std::int64_t duration, const SoundSettings& settings, FileKind kind);

    codec::SoundEncoder& encoder() { return *encoder_; }
    /// Frames of sound in all.
    const std::int64_t& frames() const { return frames_; }

    /// Replaces the contents by the next block, empty at the end.
    result::Status next(std::vector<float>& samples);

  private:
    SoundProducer() = default;
    std::unique_ptr<SoundMixer> mixer_;
    std::unique_ptr<codec::SoundEncoder> encoder_;
    std::int64_t frames_ = 0;
    std::int64_t done_ = 0;
};

}  // namespace TWQuickTime::transcode
