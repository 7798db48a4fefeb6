// How loud a sound track is over time: its own volume, and the tween tracks that drive it.
//
// Playing, exporting and rendering all ask here. A tween track is a modifier of a sound track when
// the track refers to it by 'ssrc' and the media's input map calls that reference a volume. Each of
// its samples is a ramp of a 16-bit volume (256 is full) over its time; outside of all ramps the
// track's own volume holds.
//
//     const TweenEvaluator volume = TweenEvaluator::ofVolume(movie, soundTrack);
//     const VolumeStretch stretch = volume.stretchAt(seconds);
//     gain = stretch.volumeAt(seconds);              // until stretch.endTime
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "Engines/timeline/Movie.h"

namespace TWQuickTime::timeline {

/// A stretch of movie time over which the volume changes evenly.
struct VolumeStretch {
    double startTime = 0;  ///< seconds of the movie
    double endTime = 0;    ///< seconds of the movie, not included; infinity for the last one
    double startVolume = 1;
    double endVolume = 1;  ///< linear, 1 is full; may be negative or above 1

    double volumeAt(double seconds) const {
        const double length = endTime - startTime;
        if (startVolume == endVolume || !(length > 0))
            return startVolume;
        return startVolume + (endVolume - startVolume) * (seconds - startTime) / length;
    }
    bool operator==(const VolumeStretch&) const = default;
};

class TweenEvaluator {
  public:
    /// Full volume, always.
    TweenEvaluator();
    /// Of a track of the movie. Tween samples that cannot be read or understood are passed over.
    static TweenEvaluator ofVolume(const Movie& movie, const Track& track);

    /// The stretch that covers a time; the first one for times before 0. Logarithmic.
    const VolumeStretch& stretchAt(double seconds) const;
    double volumeAt(double seconds) const { return stretchAt(seconds).volumeAt(seconds); }
    /// In units of 1/256, to the nearest one, as the toolbox counts volumes.
    std::int16_t shortVolumeAt(double seconds) const;

    /// All stretches without gaps, from 0 on.
    std::span<const VolumeStretch> stretches() const { return stretches_; }
    /// Whether the volume is the same all the time.
    bool isConstant() const { return stretches_.size() == 1; }

  private:
    explicit TweenEvaluator(std::vector<VolumeStretch> stretches);

    std::vector<VolumeStretch> stretches_;
};

}  // namespace TWQuickTime::timeline
