#include "Engines/timeline/TweenEvaluator.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Engines/timeline/TweenSample.h"

namespace TWQuickTime::timeline {
namespace {

constexpr double kVolumeUnits = 256.0;
constexpr double kForever = std::numeric_limits<double>::infinity();
/// More stretches than a sound could use; what a hostile file asks for beyond is left out.
constexpr std::size_t kMostRamps = std::size_t{1} << 20;

using Stretches = std::vector<VolumeStretch>;

/// The part of a stretch inside a range of time, which it must cover.
VolumeStretch partOf(const VolumeStretch& stretch, double start, double end) {
    return {start, end, stretch.volumeAt(start),
            end == kForever ? stretch.endVolume : stretch.volumeAt(end)};
}

/// The ramps of one tween track in order of movie time.
class RampReader {
  public:
    RampReader(const Movie& movie, const Track& track)
        : movieScale_(movie.timeScale), track_(track), media_(*track.media) {}

    Stretches read() {
        for (std::size_t i = 0; i < track_.edits.size() && ramps_.size() < kMostRamps; ++i)
            readEdit(track_.edits.at(i));
        return std::move(ramps_);
    }

  private:
    void readEdit(const PlacedEdit& placed) {
        const auto first = placed.edit.isEmpty() || placed.edit.rate <= 0
                               ? std::nullopt
                               : media_.samples.sampleAtDecodeTime(placed.edit.mediaTime);
        if (!first)
            return;
        editStart_ = placed.trackStart / movieScale_;
        editEnd_ = placed.trackEnd() / movieScale_;
        unitsPerSecond_ = media_.timeScale * (placed.edit.rate / double{kFixedOne});
        mediaStart_ = placed.edit.mediaTime;
        SampleTable::Cursor cursor = media_.samples.cursor(*first);
        for (Sample sample; ramps_.size() < kMostRamps && cursor.next(sample);) {
            if (movieTime(sample.decodeTime) >= editEnd_ || !readSample(sample))
                return;
        }
    }

    /// False when its bytes cannot be read: there will be nothing behind them either.
    bool readSample(const Sample& sample) {
        constexpr std::uint32_t kLargestSampleInBytes = 1 << 20;
        if (sample.sizeInBytes > kLargestSampleInBytes)
            return true;
        const auto bytes = media_.readSample(sample);
        if (!bytes)
            return false;
        for (const ShortTween& tween : shortTweensOfSample(*bytes, sample.duration))
            addTween(sample, tween);
        return true;
    }

    void addTween(const Sample& sample, const ShortTween& tween) {
        const std::int64_t sampleEnd = sample.decodeTime + sample.duration;
        const std::int64_t start = sample.decodeTime + tween.startOffset;
        if (tween.duration <= 0 || start >= sampleEnd)
            return;
        const VolumeStretch whole{movieTime(start), movieTime(start + tween.duration),
                                  tween.startValue / kVolumeUnits, tween.endValue / kVolumeUnits};
        // A tween ends with its sample at the latest, and plays inside the edit only.
        const double from = std::max(whole.startTime, editStart_);
        const double to = std::min({whole.endTime, movieTime(sampleEnd), editEnd_});
        if (from < to)
            ramps_.push_back(partOf(whole, from, to));
    }

    double movieTime(std::int64_t mediaTime) const {
        return editStart_ + static_cast<double>(mediaTime - mediaStart_) / unitsPerSecond_;
    }

    double movieScale_;
    const Track& track_;
    const Media& media_;
    double editStart_ = 0, editEnd_ = 0, unitsPerSecond_ = 1;
    std::int64_t mediaStart_ = 0;
    Stretches ramps_;
};

/// Lays ramps over stretches that cover all time; where ramps overlap, the later one gives way.
Stretches overlaid(const Stretches& below, const Stretches& ramps) {
    Stretches result;
    std::size_t index = 0;
    double time = 0;
    const auto copyUntil = [&](double end) {
        while (time < end) {
            const double pieceEnd = std::min(below[index].endTime, end);
            if (pieceEnd > time)
                result.push_back(partOf(below[index], time, pieceEnd));
            time = std::max(time, pieceEnd);
            if (below[index].endTime <= time && index + 1 < below.size())
                ++index;
            else if (pieceEnd == kForever)
                return;
        }
    };
    for (const VolumeStretch& ramp : ramps) {
        const double start = std::max(ramp.startTime, time);
        if (!(start < ramp.endTime))
            continue;
        copyUntil(start);
        result.push_back(partOf(ramp, start, ramp.endTime));
        time = ramp.endTime;
        while (index + 1 < below.size() && below[index].endTime <= time)
            ++index;
    }
    copyUntil(kForever);
    return result;
}

}  // namespace

TweenEvaluator::TweenEvaluator() : TweenEvaluator(Stretches{{0, kForever, 1, 1}}) {}

TweenEvaluator::TweenEvaluator(std::vector<VolumeStretch> stretches)
    : stretches_(std::move(stretches)) {}

TweenEvaluator TweenEvaluator::ofVolume(const Movie& movie, const Track& track) {
    const double own = track.volume / kVolumeUnits;
    Stretches stretches{{0, kForever, own, own}};
    const TrackReferences* references = track.referencesOfType(fourCharCode("ssrc"));
    if (!references || !track.media || movie.timeScale == 0)
        return TweenEvaluator(std::move(stretches));
    for (const std::uint32_t input : inputsOfKind(track.media->inputMap, kVolumeInput)) {
        if (input > references->trackIDs.size())
            continue;
        const Track* source = movie.trackWithID(references->trackIDs[input - 1]);
        const bool isTween = source && source->enabled() && source->media &&
                             source->media->type() == fourCharCode("twen");
        if (isTween)
            stretches = overlaid(stretches, RampReader(movie, *source).read());
    }
    return TweenEvaluator(std::move(stretches));
}

const VolumeStretch& TweenEvaluator::stretchAt(double seconds) const {
    const auto after = std::upper_bound(
        stretches_.begin(), stretches_.end(), seconds,
        [](double time, const VolumeStretch& stretch) { return time < stretch.startTime; });
    return after == stretches_.begin() ? stretches_.front() : *(after - 1);
}

std::int16_t TweenEvaluator::shortVolumeAt(double seconds) const {
    return static_cast<std::int16_t>(
        std::clamp(std::round(volumeAt(seconds) * kVolumeUnits), -32768.0, 32767.0));
}

}  // namespace TWQuickTime::timeline
