#include "Engines/playback/LapReader.h"

#include <algorithm>

namespace TWQuickTime::playback {

using result::Expected;
using result::FailureKind;

Expected<std::unique_ptr<LapReader>> LapReader::open(const timeline::Movie& movie,
                                                     codec::SoundFormat format) {
    const transcode::Time beginning{0, std::int64_t(format.sampleRate)};
    auto mixer = transcode::SoundMixer::open(movie, format, beginning, nullptr);
    if (!mixer && mixer.failure().kind != FailureKind::notFound) {
        return mixer.failure();
    }
    return std::unique_ptr<LapReader>(new LapReader(format, mixer ? std::move(*mixer) : nullptr));
}

void LapReader::begin(const PlayPlan& plan) {
    range_ = plan.range;
    loops_ = plan.loops;
    position_ = plan.start;
}

void LapReader::read(std::size_t frames, std::vector<float>& appendTo) {
    const auto channels = std::size_t(format_.channels);
    while (frames > 0) {
        if (loops_ && position_ == range_.out) {
            position_ = range_.in;
            keepLap();
        }
        const auto left = std::size_t(std::max<std::int64_t>(range_.out - position_, 0));
        const std::size_t count = std::min(frames, left);
        if (count == 0) {
            appendTo.resize(appendTo.size() + frames * channels);
            return;
        }
        if (!kept_.empty() && keptRange_ == range_) {
            const auto from =
                kept_.begin() + std::ptrdiff_t(std::size_t(position_ - range_.in) * channels);
            appendTo.insert(appendTo.end(), from, from + std::ptrdiff_t(count * channels));
        } else {
            decode(position_, count, appendTo);
        }
        position_ += std::int64_t(count);
        frames -= count;
    }
}

void LapReader::keepLap() {
    if (keptRange_ == range_) {
        return;
    }
    keptRange_ = range_;
    kept_.clear();
    const std::int64_t lap = range_.out - range_.in;
    if (lap <= kKeptFrames) {
        decode(range_.in, std::size_t(lap), kept_);
    }
}

void LapReader::decode(std::int64_t position, std::size_t frames, std::vector<float>& appendTo) {
    const std::size_t wanted = appendTo.size() + frames * std::size_t(format_.channels);
    if (mixer_) {
        if (mixerPosition_ != position) {
            mixer_->seek(position);
        }
        mixerPosition_ = position + std::int64_t(frames);
        if (mixer_->mix(frames, mixed_)) {
            appendTo.insert(appendTo.end(), mixed_.begin(), mixed_.end());
        }
    }
    appendTo.resize(wanted);
}

}  // namespace TWQuickTime::playback
