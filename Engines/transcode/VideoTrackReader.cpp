#include "Engines/transcode/VideoTrackReader.h"

#include <algorithm>

namespace TWQuickTime::transcode {

using codec::VideoFrame;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// How many samples ahead a sync sample must be for starting over there to be cheaper than to
/// decode on: starting over throws away what is on its way through the decoder's threads.
constexpr std::uint32_t kFarAhead = 12;

/// After so many jumps in a row the next one is expected to be a jump too.
constexpr int kManyJumps = 2;

/// From so many samples on, threads save more than they take to start.
constexpr std::uint32_t kWorthThreads = 24;

/// Whether two descriptions differ in nothing but where the samples lie.
bool sameCoding(const timeline::SampleDescription* a, const timeline::SampleDescription* b) {
    if (!a || !b || a->bytes().size() != b->bytes().size()) {
        return false;
    }
    constexpr std::size_t kBeforeReference = 14, kAfterReference = 16;
    const auto x = a->bytes().span(), y = b->bytes().span();
    return x.size() >= kAfterReference &&
           std::ranges::equal(x.first(kBeforeReference), y.first(kBeforeReference)) &&
           std::ranges::equal(x.subspan(kAfterReference), y.subspan(kAfterReference));
}

}  // namespace

VideoTrackReader::VideoTrackReader(const timeline::Movie& movie, const timeline::Track& track,
                                   const TrackReadingOptions& options)
    : track_(track),
      media_(*track.media),
      options_(options),
      edits_(track, movie.timeScale),
      order_(track.media->samples),
      hasOneThread_(options.singlePictures) {}

Expected<std::unique_ptr<VideoTrackReader>> VideoTrackReader::open(
    const timeline::Movie& movie, const timeline::Track& track,
    const TrackReadingOptions& options) {
    if (!track.media || track.media->descriptions.empty()) {
        return Failure{FailureKind::badArgument,
                       "track " + std::to_string(track.id) + " has no pictures"};
    }
    std::unique_ptr<VideoTrackReader> reader(new VideoTrackReader(movie, track, options));
    auto description = codec::readVideoDescription(track.media->descriptions.front().bytes());
    if (!description) {
        return description.failure();
    }
    reader->description_ = std::move(*description);
    if (auto status = reader->openDecoder(1); !status) {
        return status.failure();
    }
    return reader;
}

Status VideoTrackReader::openDecoder(std::uint32_t descriptionIndex) {
    const timeline::SampleDescription* description = media_.description(descriptionIndex);
    if (!description) {
        return Failure{FailureKind::damaged, "track " + std::to_string(track_.id) +
                                                 " lacks sample description " +
                                                 std::to_string(descriptionIndex)};
    }
    codec::VideoDecoderOptions decoding = options_.decoding;
    if (hasOneThread_) {
        decoding.threads = 1;
    }
    auto decoder = codec::VideoDecoder::open(description->bytes(), decoding);
    if (!decoder) {
        return decoder.failure();
    }
    decoder_ = std::move(*decoder);
    decoderDescription_ = descriptionIndex;
    return {};
}

std::uint32_t VideoTrackReader::startFor(const ShownSample& wanted) const {
    std::uint32_t start = media_.samples.syncSampleAtOrBefore(wanted.index);
    // In an open group, pictures shown before the sync sample need the group before.
    while (start > 0 && media_.samples.displayTimeOf(start) > wanted.displayTime) {
        // Tables that are out of order must not lead round in circles.
        start = std::min(start - 1, media_.samples.syncSampleAtOrBefore(start - 1));
    }
    return start;
}

Status VideoTrackReader::startAt(std::uint32_t syncSample, const ShownSample& wanted) {
    if (hasOneThread_ && (started_ || wanted.index - syncSample >= kWorthThreads)) {
        hasOneThread_ = false;
        if (auto status = openDecoder(decoderDescription_); !status) {
            return status;
        }
    }
    cursor_ = media_.samples.cursor(syncSample);
    nextSample_ = syncSample;
    decoded_.clear();
    current_.reset();
    started_ = true;
    ended_ = false;
    drained_ = false;
    decoder_->flush();
    return {};
}

void VideoTrackReader::advanceTo(VideoFrame frame) {
    if (options_.keptBytes > 0 && current_ && !keptFrame(current_->time)) {
        kept_.push_back(std::move(*current_));
        // What a picture takes is estimated: four bytes a pixel is more than decoders give.
        const std::size_t frameBytes =
            std::size_t(kept_.back().width()) * std::size_t(kept_.back().height()) * 4;
        while (!kept_.empty() && kept_.size() * frameBytes > options_.keptBytes) {
            kept_.pop_front();
        }
    }
    current_ = std::move(frame);
}

const VideoFrame* VideoTrackReader::keptFrame(std::int64_t displayTime) const {
    const auto found = std::ranges::find(kept_, displayTime, &VideoFrame::time);
    return found == kept_.end() ? nullptr : &*found;
}

Status VideoTrackReader::feedOne(std::int64_t wantedTime) {
    timeline::Sample sample;
    if (!cursor_.next(sample)) {
        if (ended_) {
            return Failure{FailureKind::endOfData, "no more samples"};
        }
        ended_ = true;
        return decoder_->sendEnd();
    }
    nextSample_ = sample.index + 1;
    if (sample.descriptionIndex != decoderDescription_ &&
        sameCoding(media_.description(sample.descriptionIndex),
                   media_.description(decoderDescription_))) {
        decoderDescription_ = sample.descriptionIndex;
    }
    if (sample.descriptionIndex != decoderDescription_) {
        // What the old decoder still holds comes first.
        if (decoder_->sendEnd()) {
            for (auto frame = decoder_->receive(); frame && *frame; frame = decoder_->receive()) {
                decoded_.push_back(std::move(**frame));
            }
        }
        if (auto status = openDecoder(sample.descriptionIndex); !status) {
            return status;
        }
    }
    auto bytes = media_.readSample(sample);
    if (!bytes) {
        return bytes.failure();
    }
    codec::Packet packet = codec::Packet::owning(std::move(*bytes));
    packet.decodeTime = sample.decodeTime;
    packet.presentationTime = sample.displayTime();
    packet.duration = sample.duration;
    packet.sync = sample.sync;
    // On the way to a picture, only those count that others are decoded from.
    decoder_->skipUnreferencedFrames(sample.displayTime() < wantedTime);
    ++decodedSamples_;
    // A damaged sample costs its own picture only.
    static_cast<void>(decoder_->send(packet).ok());
    return {};
}

Status VideoTrackReader::drain() {
    if (ended_) {
        return Failure{FailureKind::endOfData, "nothing more to come"};
    }
    ended_ = true;
    drained_ = true;
    return decoder_->sendEnd();
}

bool VideoTrackReader::canGoOnTo(std::size_t position) const {
    if (!started_ || (current_ && position < currentPosition_)) {
        return false;
    }
    const ShownSample& wanted = order_.at(position);
    if (drained_) {
        return std::ranges::find(decoded_, wanted.displayTime, &VideoFrame::time) != decoded_.end();
    }
    return wanted.index <= nextSample_ + kFarAhead || startFor(wanted) <= nextSample_ + kFarAhead;
}

Expected<VideoFrame> VideoTrackReader::frameAtPosition(std::size_t position) {
    if (current_ && currentPosition_ == position) {
        return *current_;
    }
    const ShownSample& wanted = order_.at(position);
    if (const VideoFrame* kept = keptFrame(wanted.displayTime)) {
        return *kept;
    }
    const bool isStep =
        started_ && position > currentPosition_ && position - currentPosition_ <= kFarAhead;
    jumps_ = isStep ? 0 : jumps_ + 1;
    if (!canGoOnTo(position)) {
        if (auto status = startAt(startFor(wanted), wanted); !status) {
            return status.failure();
        }
    }
    for (;;) {
        while (!decoded_.empty() && decoded_.front().time <= wanted.displayTime) {
            advanceTo(std::move(decoded_.front()));
            decoded_.pop_front();
        }
        const bool found = current_ && current_->time == wanted.displayTime;
        const bool passed = !decoded_.empty();
        if (found || passed) {
            break;
        }
        auto frame = decoder_->receive();
        if (frame && *frame) {
            decoded_.push_back(std::move(**frame));
            continue;
        }
        // Feeding on would bring the picture out as well, with pictures that nobody asks for.
        const bool enough = !losesByDraining_ && jumps_ >= kManyJumps && nextSample_ > wanted.index;
        if (auto status = enough ? drain() : feedOne(wanted.displayTime); !status) {
            if (status.failure().kind == FailureKind::endOfData && drained_) {
                // Decoders may hold pictures back that follow the start of an open group.
                losesByDraining_ = true;
                if (auto restarted = startAt(startFor(wanted), wanted); !restarted) {
                    return restarted.failure();
                }
                continue;
            }
            if (status.failure().kind == FailureKind::endOfData) {
                break;
            }
            return status.failure();
        }
    }
    if (!current_) {
        if (decoded_.empty()) {
            return Failure{FailureKind::damaged,
                           "track " + std::to_string(track_.id) + ": no picture could be decoded"};
        }
        // The wanted picture and all before it are missing: the nearest one after it stands in.
        current_ = decoded_.front();
    }
    currentPosition_ = position;
    return *current_;
}

Expected<std::optional<VideoFrame>> VideoTrackReader::frameAt(Time movieTime) {
    const auto shown = edits_.at(movieTime);
    if (!shown || order_.empty()) {
        return std::optional<VideoFrame>();
    }
    auto frame = frameAtPosition(order_.positionAt(shown->mediaTime));
    if (!frame) {
        return frame.failure();
    }
    return std::optional<VideoFrame>(std::move(*frame));
}

std::optional<std::int64_t> VideoTrackReader::nextChange(Time movieTime, std::int64_t scale) const {
    const auto end = edits_.endOfEdit(movieTime, scale);
    if (!end) {
        return std::nullopt;
    }
    const auto shown = edits_.at(movieTime);
    if (!shown || order_.empty() || shown->edit.edit.rate <= 0) {
        return end;
    }
    std::size_t next = order_.positionAt(shown->mediaTime);
    // Samples shown at the same time as, or before, the present one are never seen.
    while (next < order_.size() && order_.at(next).displayTime <= shown->mediaTime) {
        ++next;
    }
    if (next == order_.size()) {
        return end;
    }
    return std::min(*end, edits_.whenReached(shown->edit, order_.at(next).displayTime, scale));
}

}  // namespace TWQuickTime::transcode
