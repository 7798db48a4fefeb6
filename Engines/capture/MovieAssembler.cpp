#include "Engines/capture/MovieAssembler.h"

#include <algorithm>
#include <limits>

#include "Engines/capture/RecordedFormat.h"
#include "Engines/codec/AvcStream.h"

namespace TWQuickTime::capture {

using result::Failure;
using result::FailureKind;
using result::Status;
using timeline::fourCharCode;

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
/// A camera that has not told its parameters within so much data never will.
constexpr std::size_t kMostWaitingBytes = 64u << 20;
/// A device that has not delivered anything for so long is not waited for.
constexpr std::int64_t kLatestStartInNanoseconds = kNanosecondsPerSecond;
constexpr std::int64_t kSilenceBlockInFrames = 4096;

std::uint32_t nominalDuration(const VideoFormat& format) {
    const double rate = format.framesPerSecond > 0 ? format.framesPerSecond : 25;
    return static_cast<std::uint32_t>(std::clamp(kVideoTimeScale / rate, 1.0, 1e9));
}

}  // namespace

bool MovieAssembler::Stream::isAvc() const {
    const auto* video = std::get_if<VideoFormat>(&format);
    return video && video->codec == fourCharCode("avc1");
}

MovieAssembler::MovieAssembler(GrowingMovie& movie, const std::vector<StreamFormat>& formats,
                               std::int64_t startInNanoseconds)
    : movie_(movie), origin_(startInNanoseconds) {
    for (const StreamFormat& format : formats) {
        if (const auto* sound = std::get_if<SoundFormat>(&format); sound && !clock_)
            clock_.emplace(sound->sampleRate);
        streams_.push_back({.format = format});
    }
}

Status MovieAssembler::begin() {
    const bool isKnown = std::all_of(streams_.begin(), streams_.end(), [](const Stream& stream) {
        return !stream.isAvc() || !stream.avcConfiguration.empty();
    });
    if (begun_ || !isKnown)
        return {};
    std::vector<TrackFormat> tracks;
    for (const Stream& stream : streams_)
        tracks.push_back(trackFormatOf(stream.format, stream.avcConfiguration));
    begun_ = true;
    return movie_.beginSegment(std::move(tracks));
}

Status MovieAssembler::take(std::size_t stream, CapturedUnit unit) {
    if (unit.timeInNanoseconds < origin_)
        return {};
    return originSettled_ ? addToMovie(stream, std::move(unit)) : wait(stream, std::move(unit));
}

Status MovieAssembler::wait(std::size_t stream, CapturedUnit unit) {
    Stream& source = streams_[stream];
    if (source.isAvc() && source.avcConfiguration.empty()) {
        auto configuration = codec::avcConfiguration(unit.bytes);
        // Pictures before the first parameters could not be decoded.
        if (!configuration)
            return {};
        source.avcConfiguration = *std::move(configuration);
    }
    source.hasDelivered = true;
    waitingBytes_ += unit.bytes.size();
    waiting_.emplace_back(stream, std::move(unit));
    if (Status begun = begin(); !begun)
        return begun;
    if (!begun_) {
        if (waitingBytes_ > kMostWaitingBytes)
            return Failure{FailureKind::unsupported,
                           "the device sends H.264 without its parameter sets"};
        return {};
    }
    return isOriginKnown() ? settleOrigin() : Status();
}

bool MovieAssembler::isOriginKnown() const {
    if (std::all_of(streams_.begin(), streams_.end(),
                    [](const Stream& stream) { return stream.hasDelivered; }))
        return true;
    const auto [first, last] =
        std::minmax_element(waiting_.begin(), waiting_.end(), [](const auto& a, const auto& b) {
            return a.second.timeInNanoseconds < b.second.timeInNanoseconds;
        });
    return waitingBytes_ > kMostWaitingBytes ||
           last->second.timeInNanoseconds - first->second.timeInNanoseconds >=
               kLatestStartInNanoseconds;
}

Status MovieAssembler::settleOrigin() {
    originSettled_ = true;
    auto waiting = std::exchange(waiting_, {});
    origin_ = std::numeric_limits<std::int64_t>::max();
    for (const auto& [stream, unit] : waiting)
        origin_ = std::min(origin_, unit.timeInNanoseconds);
    for (auto& [stream, unit] : waiting) {
        if (Status added = addToMovie(stream, std::move(unit)); !added)
            return added;
    }
    return {};
}

Status MovieAssembler::addToMovie(std::size_t stream, CapturedUnit unit) {
    return std::holds_alternative<VideoFormat>(streams_[stream].format)
               ? takePicture(stream, std::move(unit))
               : takeSound(stream, std::move(unit));
}

std::int64_t MovieAssembler::inVideoUnits(std::int64_t nanoseconds) const {
    std::int64_t sinceOrigin = nanoseconds - origin_;
    if (clock_)
        sinceOrigin += clock_->correctionInNanoseconds();
    return timeline::rescale(sinceOrigin, kNanosecondsPerSecond, kVideoTimeScale);
}

Status MovieAssembler::takePicture(std::size_t stream, CapturedUnit unit) {
    Stream& source = streams_[stream];
    HeldPicture next{std::move(unit.bytes),
                     std::max<std::int64_t>(inVideoUnits(unit.timeInNanoseconds), 0)};
    if (source.isAvc()) {
        next.sync = codec::isAvcSyncSample(next.bytes);
        next.bytes = codec::avcSample(next.bytes);
    }
    if (!source.held) {
        // Recording begins with a picture that can be shown.
        if (next.sync)
            source.held = std::move(next);
        return {};
    }
    HeldPicture& held = *source.held;
    // Time stamps that stand still or go back must not stop a recording.
    next.start = std::clamp<std::int64_t>(next.start, held.start + 1,
                                          held.start + std::numeric_limits<std::int32_t>::max());
    source.lastDuration = static_cast<std::uint32_t>(next.start - held.start);
    if (Status added = movie_.add(stream, {held.start, source.lastDuration, held.sync}, held.bytes);
        !added)
        return added;
    held = std::move(next);
    return {};
}

Status MovieAssembler::takeSound(std::size_t stream, CapturedUnit unit) {
    const auto& format = std::get<SoundFormat>(streams_[stream].format);
    const auto bytesPerFrame = static_cast<std::size_t>(format.bytesPerFrame());
    const std::size_t frames = unit.bytes.size() / bytesPerFrame;
    if (frames == 0)
        return {};
    // A second stream of sound is on its own.
    const bool leads = std::none_of(
        streams_.begin(), streams_.begin() + static_cast<std::ptrdiff_t>(stream),
        [](const Stream& other) { return std::holds_alternative<SoundFormat>(other.format); });
    if (leads) {
        if (const std::int64_t lost = clock_->framesLostBefore(unit.timeInNanoseconds); lost > 0) {
            if (Status added = addSilence(stream, lost); !added)
                return added;
        }
        clock_->advance(static_cast<std::int64_t>(frames));
    }
    const std::int64_t start = timeline::rescale(unit.timeInNanoseconds - origin_,
                                                 kNanosecondsPerSecond, format.sampleRate);
    return movie_.add(stream, {start, static_cast<std::uint32_t>(frames)},
                      std::span(unit.bytes).first(frames * bytesPerFrame));
}

Status MovieAssembler::addSilence(std::size_t stream, std::int64_t frames) {
    const auto& format = std::get<SoundFormat>(streams_[stream].format);
    const std::vector<std::byte> silence(
        static_cast<std::size_t>(kSilenceBlockInFrames * format.bytesPerFrame()));
    clock_->advance(frames);
    while (frames > 0) {
        const std::int64_t count = std::min(frames, kSilenceBlockInFrames);
        const std::span block =
            std::span(silence).first(static_cast<std::size_t>(count * format.bytesPerFrame()));
        if (Status added = movie_.add(stream, {0, static_cast<std::uint32_t>(count)}, block);
            !added)
            return added;
        frames -= count;
    }
    return {};
}

Status MovieAssembler::finish() {
    if (!begun_)
        return Failure{FailureKind::unsupported, "the device sent nothing that can be decoded"};
    Status status;
    if (!waiting_.empty())
        status = settleOrigin();
    for (std::size_t i = 0; i < streams_.size(); ++i) {
        Stream& source = streams_[i];
        if (!source.held)
            continue;
        const std::uint32_t duration = source.lastDuration > 0
                                           ? source.lastDuration
                                           : nominalDuration(std::get<VideoFormat>(source.format));
        const Status added =
            movie_.add(i, {source.held->start, duration, source.held->sync}, source.held->bytes);
        if (status)
            status = added;
        source.held.reset();
    }
    return status;
}

}  // namespace TWQuickTime::capture
