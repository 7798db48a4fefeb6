#include "Engines/playback/TakeWriter.h"

#include <algorithm>

namespace TWQuickTime::playback {

namespace {

constexpr std::int64_t kFramesPerPiece = 1024;

}  // namespace

void TakeWriter::begin(Take& take, LapReader& laps) {
    take_ = &take;
    laps_ = &laps;
    laps.begin(take.plan);
    written_ = 0;
    movieLeft_ = take.plan.loops ? PlayPlan::kEndless : take.plan.range.out - take.plan.start;
    output_.clear();
    outputStart_ = 0;
    resampler_.reset();
    if (!take.plan.ratio.isOne()) {
        const int channels = laps.format().channels;
        auto made = codec::Resampler::make({channels, double(take.plan.ratio.movieFrames)},
                                           {channels, double(take.plan.ratio.outputFrames)});
        if (made) {
            resampler_ = std::move(*made);
        }
    }
}

bool TakeWriter::writePiece() {
    if (!take_ || take_->isCounted) {
        return false;
    }
    const std::int64_t piece = std::min(kFramesPerPiece, take_->length - written_);
    if (piece == 0 || std::int64_t(take_->ring.framesWritable()) < piece) {
        return false;
    }
    const auto samples = std::size_t(piece) * std::size_t(laps_->format().channels);
    produce(std::size_t(piece));
    take_->ring.write(std::span<const float>(output_).subspan(outputStart_, samples));
    outputStart_ += samples;
    written_ += piece;
    return true;
}

void TakeWriter::produce(std::size_t frames) {
    const auto channels = std::size_t(laps_->format().channels);
    output_.erase(output_.begin(), output_.begin() + std::ptrdiff_t(outputStart_));
    outputStart_ = 0;
    const std::size_t wanted = frames * channels;
    if (take_->plan.ratio.isOne()) {
        laps_->read(frames - output_.size() / channels, output_);
        return;
    }
    while (output_.size() < wanted && resampler_) {
        const std::int64_t count = std::min(kFramesPerPiece, movieLeft_);
        movieSound_.clear();
        laps_->read(std::size_t(count), movieSound_);
        if (movieLeft_ != PlayPlan::kEndless) {
            movieLeft_ -= count;
        }
        const auto status =
            count > 0 ? resampler_->convert(movieSound_, output_) : resampler_->drain(output_);
        if (!status || count == 0) {
            resampler_.reset();
        }
    }
    // What the filter cannot give at the end is silence.
    output_.resize(std::max(output_.size(), wanted));
}

}  // namespace TWQuickTime::playback
