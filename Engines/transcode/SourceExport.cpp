#include "Engines/transcode/SourceExport.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <vector>

#include "Engines/codec/FullScale.h"
#include "Engines/codec/Resampler.h"
#include "Engines/codec/SoundDecoder.h"
#include "Engines/codec/SoundEncoder.h"
#include "Engines/codec/VideoDecoder.h"
#include "Engines/codec/VideoEncoder.h"
#include "Engines/moviefile/ReplacementFile.h"
#include "Engines/transcode/ExportCommit.h"
#include "Engines/transcode/SinkFactory.h"

namespace TWQuickTime::transcode {

using codec::Packet;
using codec::VideoFrame;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

/// Coded samples wait here until all streams have begun, because the file's header tells of them.
struct SourceExport::State {
    ExportSettings settings;
    std::string path;
    std::optional<moviefile::ReplacementFile> file;
    std::unique_ptr<MediaSink> sink;

    std::unique_ptr<codec::VideoDecoder> videoDecoder;
    std::unique_ptr<codec::VideoEncoder> videoEncoder;
    codec::PixelConverter converter;
    std::int32_t videoScale = 600;
    std::unique_ptr<codec::SoundDecoder> soundDecoder;
    std::unique_ptr<codec::SoundEncoder> soundEncoder;
    std::unique_ptr<codec::Resampler> resampler;
    std::int64_t soundFrames = 0;
    std::deque<Packet> videoPackets, soundPackets;
    ExpectedStreams expected;
    bool begun = false;

    Status openVideo(const SourceSample& sample, const VideoFrame& first);
    Status openSound(const codec::SoundBlock& first);
    Status encodePictures(const SourceSample& sample);
    Status encodeSound(const codec::SoundBlock& block);
    /// Begins the file as soon as all streams that will come have begun.
    Status beginWhenReady(bool atEnd);
    /// Writes what is ready; before the end only as far as both streams are known.
    Status writeReady(bool atEnd);
    template <class Encoder>
    Status collect(Encoder& encoder, std::deque<Packet>& packets) {
        for (;;) {
            auto packet = encoder.receive();
            if (!packet) {
                return packet.failure();
            }
            if (!*packet) {
                return {};
            }
            packets.push_back(std::move(**packet));
        }
    }
};

SourceExport::SourceExport(std::unique_ptr<State> state) : state_(std::move(state)) {}
SourceExport::~SourceExport() = default;

Expected<std::unique_ptr<SourceExport>> SourceExport::create(const ExportSettings& settings,
                                                             const std::string& path,
                                                             ExpectedStreams streams) {
    if ((streams.pictures && !settings.video) || (streams.sound && !settings.sound)) {
        return Failure{FailureKind::unsupported, "these settings leave out a source", 0};
    }
    auto state = std::make_unique<State>();
    state->settings = settings;
    state->path = path;
    state->expected = streams;
    auto file = moviefile::ReplacementFile::create(path);
    if (!file) {
        return file.failure();
    }
    state->file.emplace(std::move(*file));
    auto sink = openSink(state->file->storage(), settings.kind, path);
    if (!sink) {
        return sink.failure();
    }
    state->sink = std::move(*sink);
    return std::unique_ptr<SourceExport>(new SourceExport(std::move(state)));
}

Status SourceExport::State::openVideo(const SourceSample& sample, const VideoFrame& first) {
    const VideoSettings video = settings.video.value_or(VideoSettings{});
    codec::VideoEncoderSettings encoding;
    encoding.codec = video.codec;
    encoding.width = video.width > 0 ? video.width : first.width();
    encoding.height = video.height > 0 ? video.height : first.height();
    if (first.pixelAspect.known()) {
        encoding.pixelAspect = first.pixelAspect;
    }
    encoding.color = first.color;
    encoding.sourceFormat = first.format();
    if (first.format().isRgb()) {
        const bool large = encoding.height > 576 || encoding.width > 1024;
        encoding.color = {large ? 1 : 6, 1, large ? 1 : 6, codec::ColorRange::video};
    }
    videoScale =
        static_cast<std::int32_t>(std::clamp<std::int64_t>(sample.duration.scale, 1, INT32_MAX));
    encoding.timeScale = videoScale;
    const std::int64_t length = std::max<std::int64_t>(sample.duration.value, 1);
    encoding.frameRate = length <= INT32_MAX ? codec::Rational{videoScale, std::int32_t(length)}
                                             : codec::Rational{1, 1};
    encoding.depth = video.depth;
    encoding.spatialQuality = video.spatialQuality;
    encoding.temporalQuality = video.temporalQuality;
    encoding.keyFrameEvery = video.keyFrameEvery;
    encoding.bytesPerSecond = video.bytesPerSecond;
    encoding.layout = isMovieFile(settings.kind) ? codec::StreamLayout::movie
                      : settings.kind == FileKind::matroska || settings.kind == FileKind::webm
                          ? codec::StreamLayout::foreign
                          : codec::StreamLayout::inBand;
    encoding.reorder = settings.kind != FileKind::avi;
    auto encoder = codec::VideoEncoder::open(encoding);
    if (!encoder) {
        return encoder.failure();
    }
    videoEncoder = std::move(*encoder);
    return {};
}

Status SourceExport::State::encodePictures(const SourceSample& sample) {
    for (;;) {
        auto frame = videoDecoder->receive();
        if (!frame) {
            return frame.failure();
        }
        if (!*frame) {
            return {};
        }
        if (!videoEncoder) {
            if (auto status = openVideo(sample, **frame); !status) {
                return status;
            }
        }
        auto picture = converter.convert(**frame, videoEncoder->input());
        if (!picture) {
            return picture.failure();
        }
        if (auto status = videoEncoder->encode(*picture); !status) {
            return status;
        }
        if (auto status = collect(*videoEncoder, videoPackets); !status) {
            return status;
        }
    }
}

Status SourceExport::addPicture(const SourceSample& sample) {
    State& state = *state_;
    if (!state.videoDecoder) {
        auto decoder = codec::VideoDecoder::open(sample.description, {.threads = 1});
        if (!decoder) {
            return decoder.failure();
        }
        state.videoDecoder = std::move(*decoder);
        state.videoScale = static_cast<std::int32_t>(
            std::clamp<std::int64_t>(sample.duration.scale, 1, INT32_MAX));
    }
    Packet packet;
    packet.bytes = sample.data;
    packet.presentationTime = packet.decodeTime = sample.time.nearestIn(state.videoScale);
    packet.duration = sample.duration.nearestIn(state.videoScale);
    if (auto status = state.videoDecoder->send(packet); !status) {
        return status;
    }
    if (auto status = state.encodePictures(sample); !status) {
        return status;
    }
    return state.writeReady(false);
}

Status SourceExport::State::openSound(const codec::SoundBlock& first) {
    const SoundSettings sound = settings.sound.value_or(SoundSettings{});
    codec::SoundEncoderSettings encoding;
    encoding.codec = sound.codec;
    encoding.channels = sound.channels > 0 ? sound.channels : first.channels;
    encoding.sampleRate =
        int(std::lround(sound.sampleRate > 0 ? sound.sampleRate : first.sampleRate));
    encoding.bitsPerSample = sound.bitsPerSample;
    encoding.bytesPerSecond = sound.bytesPerSecond;
    encoding.layout =
        isMovieFile(settings.kind) ? codec::StreamLayout::movie : codec::StreamLayout::foreign;
    auto encoder = codec::SoundEncoder::open(encoding);
    if (!encoder) {
        return encoder.failure();
    }
    auto made = codec::Resampler::make({first.channels, first.sampleRate},
                                       {encoding.channels, double(encoding.sampleRate)});
    if (!made) {
        return made.failure();
    }
    soundEncoder = std::move(*encoder);
    resampler = std::move(*made);
    return {};
}

Status SourceExport::State::encodeSound(const codec::SoundBlock& block) {
    if (block.frameCount() == 0) {
        return {};
    }
    if (!soundEncoder) {
        if (auto status = openSound(block); !status) {
            return status;
        }
    }
    std::vector<float> samples;
    if (auto status = resampler->convert(block.samples, samples); !status) {
        return status;
    }
    std::ranges::transform(samples, samples.begin(), codec::withinFullScale);
    soundFrames += std::int64_t(samples.size()) / soundEncoder->settings().channels;
    if (auto status = soundEncoder->encode(samples); !status) {
        return status;
    }
    return collect(*soundEncoder, soundPackets);
}

Status SourceExport::addSound(const SourceSample& sample) {
    State& state = *state_;
    if (!state.soundDecoder) {
        auto decoder = codec::SoundDecoder::open(sample.description);
        if (!decoder) {
            return decoder.failure();
        }
        state.soundDecoder = std::move(*decoder);
    }
    Packet packet;
    packet.bytes = sample.data;
    codec::SoundBlock block;
    if (auto status = state.soundDecoder->decode(packet, block); !status) {
        return status;
    }
    if (auto status = state.encodeSound(block); !status) {
        return status;
    }
    return state.writeReady(false);
}

Status SourceExport::State::beginWhenReady(bool atEnd) {
    const bool ready = (videoEncoder || !expected.pictures) && (soundEncoder || !expected.sound);
    if (begun || (!ready && !atEnd)) {
        return {};
    }
    begun = true;
    if (videoEncoder) {
        const VideoStream stream{videoEncoder.get(), videoScale, std::nullopt};
        if (auto status = sink->addVideo(stream); !status) {
            return status;
        }
    }
    if (soundEncoder) {
        if (auto status = sink->addSound({soundEncoder.get(), &soundFrames}); !status) {
            return status;
        }
    }
    return sink->begin({});
}

Status SourceExport::State::writeReady(bool atEnd) {
    if (auto status = beginWhenReady(atEnd); !status || !begun) {
        return status;
    }
    const double soundRate = soundEncoder ? soundEncoder->settings().sampleRate : 1;
    const bool both = videoEncoder && soundEncoder;
    while (!videoPackets.empty() || !soundPackets.empty()) {
        if (both && !atEnd && (videoPackets.empty() || soundPackets.empty())) {
            return {};
        }
        const bool isVideo =
            !videoPackets.empty() &&
            (soundPackets.empty() || double(videoPackets.front().decodeTime) / videoScale <=
                                         double(soundPackets.front().decodeTime) / soundRate);
        std::deque<Packet>& packets = isVideo ? videoPackets : soundPackets;
        const Status status =
            isVideo ? sink->writeVideo(packets.front()) : sink->writeSound(packets.front());
        if (!status) {
            return status;
        }
        packets.pop_front();
    }
    return {};
}

Status SourceExport::finish() {
    State& state = *state_;
    if (state.videoDecoder) {
        if (auto status = state.videoDecoder->sendEnd(); !status) {
            return status;
        }
        if (auto status = state.encodePictures({}); !status) {
            return status;
        }
    }
    if (state.soundDecoder) {
        codec::SoundBlock block;
        if (auto status = state.soundDecoder->drain(block); !status) {
            return status;
        }
        if (auto status = state.encodeSound(block); !status) {
            return status;
        }
    }
    if (!state.videoEncoder && !state.soundEncoder) {
        return Failure{FailureKind::notFound, "the sources gave nothing", 0};
    }
    if (state.videoEncoder) {
        if (auto status = state.videoEncoder->finish(); !status) {
            return status;
        }
        if (auto status = state.collect(*state.videoEncoder, state.videoPackets); !status) {
            return status;
        }
    }
    if (state.soundEncoder) {
        if (auto status = state.soundEncoder->finish(); !status) {
            return status;
        }
        if (auto status = state.collect(*state.soundEncoder, state.soundPackets); !status) {
            return status;
        }
    }
    if (auto status = state.writeReady(true); !status) {
        return status;
    }
    if (auto status = state.sink->finish(); !status) {
        return status;
    }
    return commitExport(*state.file, state.path, state.settings, {});
}

}  // namespace TWQuickTime::transcode
