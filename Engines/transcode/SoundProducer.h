// The sound of an export: mixed, for an encoder, or copied where that comes to the same.
//
//     auto sound = SoundProducer::open(movie, nullptr, 0, movie.duration(), settings, kind);
//     while (auto samples = (*sound)->mix(); samples && *samples)      // unless isCopied()
//         (*sound)->encoder().encode(**samples);
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
    /// @param leastSeconds  silence follows the sound up to this length
    static result::Expected<std::unique_ptr<SoundProducer>> open(
        const timeline::Movie& movie, const timeline::Track* onlyTrack, std::int64_t start,
        std::int64_t duration, const SoundSettings& settings, FileKind kind,
        double leastSeconds = 0);

    codec::SoundEncoder& encoder() { return *encoder_; }
    /// Frames of sound in all.
    const std::int64_t& frames() const { return frames_; }

    /// Whether copy() gives the packets; else what mix() gives is to be encoded.
    bool isCopied() const { return copy_ != nullptr; }
    /// The next packet; none at the end.
    result::Expected<std::optional<codec::Packet>> copy();
    /// The next stretch of sound, interleaved; none at the end. The encoder may be at work
    /// meanwhile, on another thread.
    result::Expected<std::optional<std::vector<float>>> mix();

  private:
    SoundProducer() = default;

    std::unique_ptr<codec::SoundEncoder> encoder_;
    /// One of these gives the sound.
    std::unique_ptr<PcmCopy> copy_;
    std::unique_ptr<SoundMixer> mixer_;
    std::int64_t frames_ = 0;
    std::int64_t done_ = 0;
};

}  // namespace TWQuickTime::transcode
