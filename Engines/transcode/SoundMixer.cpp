#include "Engines/transcode/SoundMixer.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "Engines/codec/FullScale.h"
#include "Engines/timeline/TweenEvaluator.h"
#include "Engines/transcode/SoundEdits.h"

namespace TWQuickTime::transcode {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// Frames of the media decoded in front of an edit, so that the resampler's filter is filled.
constexpr std::int64_t kFilterFrames = 256;
constexpr std::size_t kFramesPerConversion = 1024;

bool isHeard(const timeline::Track& track) {
    return track.media && track.media->type() == timeline::fourCharCode("soun") &&
           !track.media->descriptions.empty() && track.media->samples.sampleCount() > 0;
}

}  // namespace

/// One track: what it sounds like at the mixer's format, frame by frame.
class SoundMixer::Voice {
  public:
    Voice(const timeline::Movie& movie, const timeline::Track& track,
          std::unique_ptr<SoundTrackReader> reader, codec::SoundFormat format, Time start)
        : track_(track),
          reader_(std::move(reader)),
          format_(format),
          edits_(movie, track, std::int64_t(format.sampleRate)),
          origin_(start.nearestIn(std::int64_t(format.sampleRate))),
          volume_(timeline::TweenEvaluator::ofVolume(movie, track)) {}

    /// Replaces the contents by the frames from a position on (frames of the mixer's rate after its
    /// start).
    Status render(std::int64_t position, std::size_t frames, std::vector<float>& samples) {
        samples.clear();
        const auto channels = std::size_t(format_.channels);
        std::int64_t at = origin_ + position;
        const std::int64_t end = at + std::int64_t(frames);
        while (at < end) {
            const SoundPiece piece = edits_.at(at);
            const std::int64_t until = std::min(end, piece.end);
            const auto count = std::size_t(until - at);
            if (piece.silent) {
                samples.resize(samples.size() + count * channels);
            } else if (auto status = sound(piece, at, count, samples); !status) {
                return status;
            }
            at = until;
        }
        applyVolume(origin_ + position, frames, samples);
        return {};
    }

  private:
    Status sound(const SoundPiece& piece, std::int64_t at, std::size_t count,
                 std::vector<float>& appendTo) {
        if (edit_ != piece.index || nextFrame_ != at) {
            if (auto status = begin(piece, at); !status) {
                return status;
            }
            dropFilterFrames();
        }
        nextFrame_ = at + std::int64_t(count);
        if (!resampler_) {
            reader_->read(count, appendTo);
            return {};
        }
        const auto channels = std::size_t(format_.channels);
        while (ready_.size() - readyStart_ < count * channels) {
            ready_.erase(ready_.begin(), ready_.begin() + std::ptrdiff_t(readyStart_));
            readyStart_ = 0;
            decoded_.clear();
            reader_->read(kFramesPerConversion, decoded_);
            if (auto status = resampler_->convert(decoded_, ready_); !status) {
                return status;
            }
            dropFilterFrames();
        }
        const auto from = ready_.begin() + std::ptrdiff_t(readyStart_);
        appendTo.insert(appendTo.end(), from, from + std::ptrdiff_t(count * channels));
        readyStart_ += count * channels;
        return {};
    }

    void dropFilterFrames() {
        const auto channels = std::size_t(format_.channels);
        const std::size_t dropped = std::min(toDrop_, (ready_.size() - readyStart_) / channels);
        readyStart_ += dropped * channels;
        toDrop_ -= dropped;
    }

    /// Sets decoder and resampler on the place of an edit that sounds at a frame.
    Status begin(const SoundPiece& piece, std::int64_t at) {
        const double rate = piece.edit.rate / 65536.0;
        const double mediaRate = reader_->sampleRate();
        const codec::SoundFormat from{reader_->channels(), std::round(mediaRate * rate)};
        const bool sameRate = from.sampleRate == format_.sampleRate;
        resampler_.reset();
        if (from != format_) {
            auto resampler = codec::Resampler::make(from, format_);
            if (!resampler) {
                return resampler.failure();
            }
            resampler_ = std::move(*resampler);
        }
        edit_ = piece.index;
        const double editStart = double(piece.edit.mediaTime) * mediaRate /
                                 double(std::max<std::uint32_t>(track_.media->timeScale, 1));
        const double wanted =
            editStart + double(at - piece.begin) / format_.sampleRate * mediaRate * rate;
        auto mediaFrame = std::int64_t(std::floor(wanted + 1e-6));
        toDrop_ = 0;
        std::int64_t silent = 0;
        if (!sameRate) {
            // A run-up fills the filter; its length is a whole number of frames on both sides.
            const auto inRate = std::int64_t(from.sampleRate);
            const auto outRate = std::int64_t(format_.sampleRate);
            const std::int64_t step = inRate / std::gcd(inRate, outRate);
            const std::int64_t runUp = (kFilterFrames + step - 1) / step * step;
            toDrop_ = std::size_t(runUp * outRate / inRate);
            silent = std::max<std::int64_t>(runUp - mediaFrame, 0);
            mediaFrame -= runUp - silent;
        }
        ready_.clear();
        readyStart_ = 0;
        reader_->seek(mediaFrame);
        nextFrame_ = at;
        if (silent == 0) {
            return {};
        }
        decoded_.assign(std::size_t(silent) * std::size_t(from.channels), 0.0f);
        return resampler_->convert(decoded_, ready_);
    }

    void applyVolume(std::int64_t frame, std::size_t frames, std::vector<float>& samples) {
        if (volume_.isConstant()) {
            const auto gain = float(volume_.volumeAt(0));
            if (gain != 1.0f) {
                for (float& sample : samples) {
                    sample *= gain;
                }
            }
            return;
        }
        const auto channels = std::size_t(format_.channels);
        const auto secondsAt = [&](std::size_t i) {
            return double(frame + std::int64_t(i)) / format_.sampleRate;
        };
        // Stretch by stretch; within one the volume changes in a line.
        for (std::size_t i = 0; i < frames;) {
            const timeline::VolumeStretch& stretch = volume_.stretchAt(secondsAt(i));
            const double left = std::ceil((stretch.endTime - secondsAt(i)) * format_.sampleRate);
            const std::size_t count =
                left < double(frames - i)
                    ? std::max<std::size_t>(std::size_t(std::max(left, 1.0)), 1)
                    : frames - i;
            const auto from = float(stretch.volumeAt(secondsAt(i)));
            const auto step = (float(stretch.volumeAt(secondsAt(i + count))) - from) / float(count);
            for (std::size_t j = 0; j < count; ++j) {
                for (std::size_t c = 0; c < channels; ++c) {
                    samples[(i + j) * channels + c] *= from + step * float(j);
                }
            }
            i += count;
        }
    }

    const timeline::Track& track_;
    std::unique_ptr<SoundTrackReader> reader_;
    codec::SoundFormat format_;
    SoundEdits edits_;
    std::int64_t origin_;
    timeline::TweenEvaluator volume_;
    /// Of the edit that sounds; none where the media has the mixer's rate and channels.
    std::unique_ptr<codec::Resampler> resampler_;
    std::size_t edit_ = 0;
    std::int64_t nextFrame_ = -1;  ///< where reading on needs no beginning
    std::size_t toDrop_ = 0;
    std::vector<float> decoded_;
    std::vector<float> ready_;
    std::size_t readyStart_ = 0;
};

SoundMixer::~SoundMixer() = default;

Expected<std::unique_ptr<SoundMixer>> SoundMixer::open(const timeline::Movie& movie,
                                                       codec::SoundFormat format, Time start,
                                                       const timeline::Track* onlyTrack) {
    std::unique_ptr<SoundMixer> mixer(new SoundMixer());
    mixer->format_ = format;
    mixer->origin_ = start.nearestIn(std::int64_t(format.sampleRate));
    std::optional<Failure> firstFailure;
    for (const timeline::Track* track : soundTracks(movie, onlyTrack)) {
        auto reader = SoundTrackReader::open(*track);
        if (!reader) {
            if (!firstFailure) {
                firstFailure = reader.failure();
            }
            continue;
        }
        mixer->voices_.push_back(
            std::make_unique<Voice>(movie, *track, std::move(*reader), format, start));
    }
    if (mixer->voices_.empty()) {
        return firstFailure ? *firstFailure
                            : Failure{FailureKind::notFound, "the movie has no sound"};
    }
    return mixer;
}

Status SoundMixer::mix(std::size_t frames, std::vector<float>& samples) {
    bool isFirst = true;
    for (const auto& voice : voices_) {
        // The first voice is the sum so far; alone, it needs no adding.
        if (auto status = voice->render(position_, frames, isFirst ? samples : voiceSamples_);
            !status) {
            return status;
        }
        if (!isFirst) {
            std::ranges::transform(samples, voiceSamples_, samples.begin(), std::plus());
        }
        isFirst = false;
    }
    std::ranges::transform(samples, samples.begin(), codec::withinFullScale);
    position_ += std::int64_t(frames);
    return {};
}

std::vector<const timeline::Track*> soundTracks(const timeline::Movie& movie,
                                                const timeline::Track* onlyTrack) {
    std::vector<const timeline::Track*> tracks;
    for (const auto& track : movie.tracks) {
        if ((onlyTrack ? track.get() == onlyTrack : track->enabled()) && isHeard(*track)) {
            tracks.push_back(track.get());
        }
    }
    return tracks;
}

codec::SoundFormat naturalSoundFormat(const timeline::Movie& movie,
                                      const timeline::Track* onlyTrack) {
    codec::SoundFormat format{0, 0};
    for (const timeline::Track* track : soundTracks(movie, onlyTrack)) {
        if (auto reader = SoundTrackReader::open(*track)) {
            format.channels = std::max(format.channels, (*reader)->channels());
            format.sampleRate = std::max(format.sampleRate, (*reader)->sampleRate());
        }
    }
    return format;
}

}  // namespace TWQuickTime::transcode
