// The sound of an export, packet by packet: mixed and encoded, or copied where that is the same.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Engines/codec/SoundEncoder.h"
#include "Engines/transcode/ExportSettings.h"
#include "Engines/transcode/PcmCopy.h"
#include "Engines/transcode/SoundMixer.h"

namespace TWQuickTime::transcode {

class SoundProducer {
  public:
    /// Opens the mixer and an encoder. `notFound` when the movie has no sound.
    static result::Expected<std::unique_ptr<SoundProducer>> open(
        const timeline::Movie& movie, const timeline::Track* onlyTrack, std::int64_t start,
        std::int64_t duration, const SoundSettings& settings, FileKind kind);

    const codec::SoundEncoder& encoder() const { return *encoder_; }
    /// Frames of sound in all.
    const std::int64_t& frames() const { return frames_; }

    /// The next packet; none at the end.
    result::Expected<std::optional<codec::Packet>> next();

  private:
    SoundProducer() = default;
    result::Status encodeMore();

    std::unique_ptr<codec::SoundEncoder> encoder_;
    /// One of these gives the sound.
    std::unique_ptr<PcmCopy> copy_;
    std::unique_ptr<SoundMixer> mixer_;
    std::vector<float> samples_;
    std::int64_t frames_ = 0;
    std::int64_t done_ = 0;
    bool ended_ = false;
};

}  // namespace TWQuickTime::transcode
