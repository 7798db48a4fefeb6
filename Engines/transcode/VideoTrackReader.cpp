#include "Engines/transcode/VideoTrackReader.h"

#include <algorithm>

namespace TWQuickTime::transcode {

using codec::VideoFrame;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// How many samples ahead it is cheaper to decode on than to start over from a sync sample.
constexpr std::uint32_t kFarAhead = 250;

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
                                   const codec::VideoDecoderOptions& options)
    : track_(track),
      media_(*track.media),
      options_(options),
      edits_(track, movie.timeScale),
      order_(track.media->samples) {}

Expected<std::unique_ptr<VideoTrackReader>> VideoTrackReader::open(
    const timeline::Movie& movie, const timeline::Track& track,
    const codec::VideoDecoderOptions& options) {
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
    auto decoder = codec::VideoDecoder::open(description->bytes(), options_);
    if (!decoder) {
        return decoder.failure();
    }
    decoder_ = std::move(*decoder);
    decoderDescription_ = descriptionIndex;
    return {};
}

Status VideoTrackReader::startAt(std::uint32_t sampleIndex) {
    const std::uint32_t sync = media_.samples.syncSampleAtOrBefore(sampleIndex);
    cursor_ = media_.samples.cursor(sync);
    nextSample_ = sync;
    decoded_.clear();
    started_ = true;
    ended_ = false;
    decoder_->flush();
    return {};
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
    // A damaged sample costs its own picture only.
    static_cast<void>(decoder_->send(packet).ok());
    return {};
}

Expected<VideoFrame> VideoTrackReader::frameAtPosition(std::size_t position) {
    if (current_ && currentPosition_ == position) {
        return *current_;
    }
    const ShownSample& wanted = order_.at(position);
    const bool behind = started_ && current_ && position < currentPosition_;
    const bool farAhead = started_ && wanted.index > nextSample_ + kFarAhead &&
                          media_.samples.syncSampleAtOrBefore(wanted.index) > nextSample_;
    if (!started_ || behind || farAhead) {
        if (auto status = startAt(wanted.index); !status) {
            return status.failure();
        }
        current_.reset();
    }
    for (;;) {
        while (!decoded_.empty() && decoded_.front().time <= wanted.displayTime) {
            current_ = std::move(decoded_.front());
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
        if (auto status = feedOne(wanted.displayTime); !status) {
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
