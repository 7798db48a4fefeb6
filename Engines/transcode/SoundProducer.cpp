#include "Engines/transcode/SoundProducer.h"

#include <algorithm>
#include <cmath>

#include "Engines/codec/ByteOrder.h"

namespace TWQuickTime::transcode {

using codec::fourCode;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr std::int64_t kFramesPerBlock = 4096;

int mostChannels(std::uint32_t type) {
    switch (type) {
        case fourCode(".mp3"):
        case fourCode(".mp2"):
        case fourCode("ima4"):
        case 0x6D730002:
        case 0x6D730011:
            return 2;
        case fourCode("ac-3"):
        case fourCode("ec-3"):
            return 6;
        default:
            return 8;
    }
}

}  // namespace

Expected<std::unique_ptr<SoundProducer>> SoundProducer::open(
    const timeline::Movie& movie, const timeline::Track* onlyTrack, std::int64_t start,
    std::int64_t duration, const SoundSettings& settings, FileKind kind) {
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
    const bool own = kind == FileKind::quickTime || kind == FileKind::mpeg4 ||
                     kind == FileKind::m4v || kind == FileKind::threeGpp || kind == FileKind::m4a;
    encoding.layout = own ? codec::StreamLayout::movie : codec::StreamLayout::foreign;
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
    const codec::SoundFormat format{encoding.channels, double(encoding.sampleRate)};
    auto mixer = SoundMixer::open(movie, format,
                                  {start, std::max<std::int64_t>(movie.timeScale, 1)}, onlyTrack);
    if (!mixer) {
        return mixer.failure();
    }
    producer->mixer_ = std::move(*mixer);
    producer->frames_ = timeline::rescale(start + duration, movie.timeScale, encoding.sampleRate) -
                        timeline::rescale(start, movie.timeScale, encoding.sampleRate);
    return producer;
}

Status SoundProducer::next(std::vector<float>& samples) {
    const std::int64_t count = std::min(kFramesPerBlock, frames_ - done_);
    if (count <= 0) {
        samples.clear();
        return {};
    }
    done_ += count;
    return mixer_->mix(std::size_t(count), samples);
}

}  // namespace TWQuickTime::transcode
