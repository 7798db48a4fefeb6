#include "Engines/transcode/SoundProducer.h"

#include <algorithm>
#include <cmath>

#include "Engines/codec/ByteOrder.h"
#include "Engines/transcode/SoundEnd.h"

namespace TWQuickTime::transcode {

using codec::fourCode;
using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

/// Sound goes between threads in blocks: so large that waking each other costs little, and no more
/// than half a second, for it lies between pictures in the end.
constexpr std::size_t kBlockBytes = 256 * 1024;

std::int64_t framesPerBlock(const codec::SoundEncoderSettings& settings) {
    const std::int64_t fitting = kBlockBytes / (sizeof(float) * std::size_t(settings.channels));
    return std::clamp<std::int64_t>(settings.sampleRate / 2, 1024, fitting);
}

int mostChannels(std::uint32_t type) {
    switch (type) {
        case fourCode("agsm"):
            return 1;
        case fourCode(".mp3"):
        case fourCode(".mp2"):
        case fourCode("ima4"):
        case 0x6D730002:
        case 0x6D730011:
            return 2;
        case fourCode("ac-3"):
        case fourCode("ec-3"):
        case fourCode("dtsc"):
            return 6;
        default:
            return 8;
    }
}

/// The frame behind the last one of a range. Pictures may go on when no sound does: no silence is
/// made for the rest. A range that reaches the end of all sound has it to the last frame.
std::int64_t endOfRange(const timeline::Movie& movie, const timeline::Track* onlyTrack,
                        std::int64_t end, std::int64_t sampleRate) {
    std::int64_t soundEnds = 0, tracksEnd = 0;
    for (const timeline::Track* track : soundTracks(movie, onlyTrack)) {
        soundEnds = std::max(soundEnds, soundEnd(movie, *track, sampleRate));
        tracksEnd = std::max(tracksEnd, track->duration());
    }
    return end >= tracksEnd ? soundEnds : timeline::rescale(end, movie.timeScale, sampleRate);
}

}  // namespace

Expected<std::unique_ptr<SoundProducer>> SoundProducer::open(
    const timeline::Movie& movie, const timeline::Track* onlyTrack, std::int64_t start,
    std::int64_t duration, const SoundSettings& settings, FileKind kind, double leastSeconds) {
    const codec::SoundFormat natural = naturalSoundFormat(movie, onlyTrack);
    if (natural.channels == 0) {
        return Failure{FailureKind::notFound, "the movie has no sound"};
    }
    codec::SoundEncoderSettings encoding;
    encoding.codec = settings.codec;
    encoding.channels = settings.channels > 0
                            ? settings.channels
                            : std::min(natural.channels, mostChannels(settings.codec));
    encoding.sampleRate =
        int(std::lround(settings.sampleRate > 0 ? settings.sampleRate : natural.sampleRate));
    encoding.bitsPerSample = settings.bitsPerSample;
    if (kind == FileKind::dv) {
        encoding.channels = 2;
        encoding.sampleRate = 48000;
        encoding.bitsPerSample = 16;
    }
    encoding.bytesPerSecond = settings.bytesPerSecond;
    encoding.layout = isMovieFile(kind) ? codec::StreamLayout::movie : codec::StreamLayout::foreign;
    auto encoder = codec::SoundEncoder::open(encoding);
    if (!encoder && settings.sampleRate <= 0) {
        // The movie's own rate was not asked for by name, so the nearest usual one will do.
        for (const int rate : {48000, 44100, 32000, 8000}) {
            encoding.sampleRate = rate;
            encoder = codec::SoundEncoder::open(encoding);
            if (encoder) {
                break;
            }
        }
    }
    if (!encoder) {
        return encoder.failure();
    }
    std::unique_ptr<SoundProducer> producer(new SoundProducer());
    producer->encoder_ = std::move(*encoder);
    const std::int64_t firstFrame = timeline::rescale(start, movie.timeScale, encoding.sampleRate);
    const std::int64_t endFrame =
        endOfRange(movie, onlyTrack, start + duration, encoding.sampleRate);
    producer->frames_ = endFrame > firstFrame
                            ? endFrame - firstFrame
                            : timeline::rescale(duration, movie.timeScale, encoding.sampleRate);
    producer->frames_ =
        std::max(producer->frames_, std::int64_t(std::ceil(leastSeconds * encoding.sampleRate)));
    const Time begin{start, std::max<std::int64_t>(movie.timeScale, 1)};
    producer->copy_ =
        PcmCopy::open(movie, onlyTrack, *producer->encoder_, begin, producer->frames_);
    if (producer->copy_) {
        return producer;
    }
    auto mixer =
        SoundMixer::open(movie, {encoding.channels, double(encoding.sampleRate)}, begin, onlyTrack);
    if (!mixer) {
        return mixer.failure();
    }
    producer->mixer_ = std::move(*mixer);
    return producer;
}

Expected<std::optional<std::vector<float>>> SoundProducer::mix() {
    const std::int64_t count = std::min(framesPerBlock(encoder_->settings()), frames_ - done_);
    if (count <= 0) {
        return std::optional<std::vector<float>>();
    }
    done_ += count;
    std::optional<std::vector<float>> samples(std::in_place);
    if (auto status = mixer_->mix(std::size_t(count), *samples); !status) {
        return status.failure();
    }
    return samples;
}

Expected<std::optional<codec::Packet>> SoundProducer::copy() {
    return copy_->next();
}

}  // namespace TWQuickTime::transcode
