// Uncompressed sound on its way into a file of uncompressed sound: ranges of bytes, not decoded.
//
//     if (auto copy = PcmCopy::open(movie, nullptr, *encoder, start, frames))
//         while (auto packet = copy->next()) write(*packet);
//
// Edits are honoured as the mixer does it. The movie must outlive this and not change under it.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Engines/codec/SoundEncoder.h"
#include "Engines/timeline/Movie.h"
#include "Engines/transcode/SoundEdits.h"
#include "Engines/transcode/Time.h"

namespace TWQuickTime::transcode {

class PcmCopy {
  public:
    /// None when more than the byte order would have to change: several tracks, a volume, another
    /// rate, other channels, another width.
    /// @param encoder  whose packets would look the same
    static std::unique_ptr<PcmCopy> open(const timeline::Movie& movie,
                                         const timeline::Track* onlyTrack,
                                         const codec::SoundEncoder& encoder, Time start,
                                         std::int64_t frames);

    /// The next packet; none at the end. What cannot be read is silent.
    std::optional<codec::Packet> next();

  private:
    PcmCopy(const timeline::Movie& movie, const timeline::Track& track,
            const codec::SoundEncoder& encoder, Time start, std::int64_t frames, int swapWidth);
    void copy(std::int64_t mediaFrame, std::span<std::byte> to) const;

    const timeline::Media& media_;
    SoundEdits edits_;
    std::size_t frameSize_;
    int swapWidth_;
    std::int64_t origin_;  ///< frames from the movie's beginning
    std::int64_t frames_;
    std::int64_t done_ = 0;
};

}  // namespace TWQuickTime::transcode
