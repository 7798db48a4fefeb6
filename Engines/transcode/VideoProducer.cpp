#include "Engines/transcode/VideoProducer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <thread>

namespace TWQuickTime::transcode {

using codec::fourCode;
using codec::VideoFrame;
using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

/// Formats that count pictures instead of giving each its time.
bool wantsConstantRate(FileKind kind) {
    return kind == FileKind::avi || kind == FileKind::dv;
}

bool wantsEvenSize(std::uint32_t type) {
    switch (type) {
        case fourCode("rle "):
        case fourCode("raw "):
        case fourCode("png "):
        case fourCode("jpeg"):
        case fourCode("tiff"):
        case fourCode("tga "):
        case fourCode("sgi "):
        case fourCode("gif "):
        case fourCode("b64a"):
        case fourCode("b48r"):
        case fourCode("b16g"):
        case fourCode("v308"):
        case fourCode("v408"):
        case fourCode("v410"):
        case fourCode("r210"):
        case fourCode("R10k"):
        case fourCode("mjp2"):
            return false;
        default:
            return true;
    }
}

/// GIF counts in hundredths of a second; viewers take one alone for a mistake and show the picture
/// for a tenth of a second.
constexpr std::int32_t kGifTimeScale = 100;
constexpr std::int32_t kMostGifPictures = 50;

/// Whether a file of the kind can say that its pixels are not square.
bool carriesPixelAspect(FileKind kind) {
    return kind != FileKind::gif && kind != FileKind::imageSequence && kind != FileKind::avi;
}

/// The duration that most samples have where some differ from it by more than rounding does; none
/// where there is no such duration.
std::optional<std::int32_t> usualDuration(const timeline::Media& media) {
    constexpr std::uint32_t kSamplesLookedAt = 1000;
    std::map<std::int64_t, std::uint32_t> counts;
    timeline::SampleTable::Cursor cursor = media.samples.cursor(0);
    std::uint32_t seen = 0;
    for (timeline::Sample sample; seen < kSamplesLookedAt && cursor.next(sample); ++seen) {
        ++counts[sample.duration];
    }
    const auto usual =
        std::ranges::max_element(counts, {}, &std::pair<const std::int64_t, std::uint32_t>::second);
    if (usual == counts.end() || usual->second * 2 <= seen || usual->first < 1 ||
        usual->first > INT32_MAX) {
        return std::nullopt;
    }
    const bool varies = std::ranges::any_of(
        counts, [&](const auto& entry) { return std::abs(entry.first - usual->first) > 1; });
    return varies ? std::optional(static_cast<std::int32_t>(usual->first)) : std::nullopt;
}

/// The rate at which a track's samples follow each other, exact where it does not vary.
codec::Rational rateOfTrack(const timeline::Media& media) {
    const std::int64_t count = media.samples.sampleCount();
    const std::int64_t duration = media.samples.duration();
    if (count < 1 || duration < 1) {
        return {25, 1};
    }
    const auto scale = std::int64_t(media.timeScale);
    if (const auto usual = usualDuration(media); usual && scale <= INT32_MAX) {
        return {std::int32_t(scale), *usual};
    }
    if (duration % count == 0 && duration / count <= INT32_MAX && scale <= INT32_MAX) {
        return {std::int32_t(scale), std::int32_t(duration / count)};
    }
    const double rate = double(count) * double(scale) / double(duration);
    const auto fixed = static_cast<std::int32_t>(std::clamp(rate, 0.02, 1000.0) * 65536);
    return exactFrameRate(std::max(fixed, 1));
}

struct FixedVideo {
    int width, height;
    codec::Rational rate;
};

/// The one size and rate of DV.
FixedVideo dvFormat(std::uint32_t type) {
    return type == fourCode("dvc ") ? FixedVideo{720, 480, {30000, 1001}}
                                    : FixedVideo{720, 576, {25, 1}};
}

/// One decoding thread for each processor. The library would take one more for the thread that
/// waits for pictures; here that one only hands them on, and each holds pictures in memory.
int decodingThreads() {
    constexpr int kMost = 16;
    return std::clamp(int(std::thread::hardware_concurrency()), 1, kMost);
}

/// Tags for pictures that were composed as RGB; the conversion from RGB goes by them. Composing
/// changes neither primaries nor transfer, so those of the main track hold where it states them.
codec::ColorTags composedColor(const codec::ColorTags& main, int width, int height) {
    constexpr int unspecified = 2, sameAsRgb = 0;
    if (main.matrix != unspecified && main.matrix != sameAsRgb) {
        return {main.primaries, main.transfer, main.matrix, codec::ColorRange::video};
    }
    const bool large = height > 576 || width > 1024;
    return {large ? 1 : 6, 1, large ? 1 : 6, codec::ColorRange::video};
}

}  // namespace

std::optional<codec::CleanAperture> VideoProducer::cleanAperture() const {
    return renderer_->cleanAperture();
}

void VideoProducer::planTimes(const timeline::Movie& movie, std::int64_t start,
                              std::int64_t duration, const VideoSettings& settings, FileKind kind) {
    const std::int64_t scale = renderer_->timeScale();
    start_ = timeline::rescale(start, movie.timeScale, scale);
    end_ = timeline::rescale(start + duration, movie.timeScale, scale);
    // Sound may last longer than pictures do; no blank picture is made for the rest, but where
    // sound has its place inside the pictures.
    if (const std::int64_t shownEnd = renderer_->endTime();
        shownEnd > start_ && kind != FileKind::dv) {
        end_ = std::min(end_, shownEnd);
    }
    at_ = start_;
    const timeline::Media& media = *renderer_->mainTrack().track().media;
    rate_ = settings.frameRate > 0 ? exactFrameRate(settings.frameRate) : rateOfTrack(media);
    constantRate_ = settings.frameRate > 0 || wantsConstantRate(kind);
    const bool isGif = kind == FileKind::gif;
    if (isGif && rate_.value() > kMostGifPictures) {
        rate_ = {kMostGifPictures, 1};
    }
    const double seconds = double(end_ - start_) / double(scale);
    if (!constantRate_) {
        timeScale_ = isGif ? kGifTimeScale
                           : static_cast<std::int32_t>(
                                 std::clamp<std::int64_t>(media.timeScale, 1, INT32_MAX));
        leastLength_ = isGif ? kGifTimeScale / kMostGifPictures : 1;
        outputDuration_ = timeline::rescale(end_ - start_, scale, timeScale_);
        return;
    }
    const bool dividesSixHundred = rate_.denominator == 1 && 600 % rate_.numerator == 0;
    timeScale_ = dividesSixHundred ? 600 : rate_.numerator;
    count_ = std::max<std::int64_t>(1, std::llround(seconds * rate_.value()));
    outputDuration_ = count_ * rate_.denominator * (timeScale_ / rate_.numerator);
}

bool VideoProducer::advance() {
    const std::int64_t scale = renderer_->timeScale();
    if (constantRate_) {
        if (number_ >= count_) {
            return false;
        }
        const std::int64_t length =
            std::int64_t(rate_.denominator) * (timeScale_ / rate_.numerator);
        outputTime_ = number_ * length;
        outputEnd_ = outputTime_ + length;
        // A little into the picture, so that rates which differ in the last digit do not make the
        // picture before it show.
        at_ = start_ + timeline::rescaleDown(outputTime_ * 8 + length, timeScale_ * 8LL, scale);
        at_ = std::clamp(at_, start_, std::max(start_, end_ - 1));
        ++number_;
        return true;
    }
    if (number_ > 0) {
        at_ = start_ + timeline::rescaleDown(outputEnd_, timeScale_, scale);
        at_ = std::max(at_, nextAt_);
    }
    if (at_ >= end_ || outputEnd_ >= outputDuration_) {
        return false;
    }
    nextAt_ = std::min(renderer_->nextChange({at_, scale}).value_or(end_), end_);
    outputTime_ = outputEnd_;
    outputEnd_ = std::min(timeline::rescale(nextAt_ - start_, scale, timeScale_), outputDuration_);
    // Pictures shorter than the output can have are never seen.
    while (outputEnd_ < outputTime_ + leastLength_ && nextAt_ < end_) {
        at_ = nextAt_;
        nextAt_ = std::min(renderer_->nextChange({at_, scale}).value_or(end_), end_);
        outputEnd_ =
            std::min(timeline::rescale(nextAt_ - start_, scale, timeScale_), outputDuration_);
    }
    ++number_;
    return outputEnd_ > outputTime_;
}

Expected<std::optional<VideoFrame>> VideoProducer::next() {
    if (!advance()) {
        return std::optional<VideoFrame>();
    }
    auto frame = renderer_->renderNative({at_, renderer_->timeScale()});
    if (!frame) {
        return frame.failure();
    }
    frame->time = outputTime_;
    frame->duration = outputEnd_ - outputTime_;
    return std::optional<VideoFrame>(std::move(*frame));
}

Expected<VideoFrame> VideoProducer::prepared(const VideoFrame& picture) {
    return converter_.convert(picture, encoder_->input());
}

Expected<std::unique_ptr<VideoProducer>> VideoProducer::open(
    const timeline::Movie& movie, const timeline::Track* onlyTrack, std::int64_t start,
    std::int64_t duration, const VideoSettings& given, FileKind kind) {
    VideoSettings settings = given;
    const bool isDv = kind == FileKind::dv;
    std::unique_ptr<VideoProducer> producer(new VideoProducer());
    if (isDv) {
        const FixedVideo format = dvFormat(settings.codec);
        settings.width = format.width;
        settings.height = format.height;
        settings.frameRate = static_cast<std::int32_t>(std::lround(format.rate.value() * 65536));
    }
    RenderOptions options;
    options.width = settings.width;
    options.height = settings.height;
    options.alpha = settings.depth == 32;
    options.storedSize = carriesPixelAspect(kind);
    options.evenSize = wantsEvenSize(settings.codec);
    options.onlyTrack = onlyTrack;
    options.reading.decoding.threads = decodingThreads();
    auto renderer = MovieRenderer::open(movie, options);
    if (!renderer) {
        return renderer.failure();
    }
    producer->renderer_ = std::move(*renderer);
    producer->planTimes(movie, start, duration, settings, kind);
    auto first =
        producer->renderer_->renderNative({producer->start_, producer->renderer_->timeScale()});
    if (!first) {
        return first.failure();
    }
    codec::VideoEncoderSettings encoding;
    encoding.codec = settings.codec;
    encoding.width = producer->renderer_->width();
    encoding.height = producer->renderer_->height();
    encoding.pixelAspect =
        isDv ? codec::Rational{settings.height == 480 ? 8 : 16, settings.height == 480 ? 9 : 15}
             : producer->renderer_->pixelAspect();
    encoding.color = first->color;
    encoding.sourceFormat = first->format();
    if (first->format().isRgb()) {
        // A DV stream has no place for tags.
        const codec::ColorTags tags =
            isDv ? codec::ColorTags() : producer->renderer_->mainTrack().description().color;
        encoding.color = composedColor(tags, encoding.width, encoding.height);
    }
    const bool unscaled = producer->renderer_->isDirect() && first->height() == encoding.height &&
                          first->width() == encoding.width;
    encoding.interlaced = unscaled && first->interlaced;
    encoding.topFieldFirst = first->topFieldFirst;
    encoding.timeScale = producer->timeScale_;
    encoding.frameRate = producer->rate_;
    encoding.depth = settings.depth;
    encoding.spatialQuality = settings.spatialQuality;
    encoding.temporalQuality = settings.temporalQuality;
    encoding.keyFrameEvery = settings.keyFrameEvery;
    encoding.bytesPerSecond = settings.bytesPerSecond;
    const bool own = kind == FileKind::quickTime || kind == FileKind::mpeg4 ||
                     kind == FileKind::m4v || kind == FileKind::threeGpp;
    encoding.layout = own ? codec::StreamLayout::movie
                      : kind == FileKind::matroska || kind == FileKind::webm
                          ? codec::StreamLayout::foreign
                          : codec::StreamLayout::inBand;
    encoding.reorder = kind != FileKind::avi;
    auto encoder = codec::VideoEncoder::open(encoding);
    if (!encoder) {
        return encoder.failure();
    }
    producer->encoder_ = std::move(*encoder);
    return producer;
}

}  // namespace TWQuickTime::transcode
