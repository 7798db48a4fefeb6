#include "Engines/codec/ForeignReader.h"

#include <algorithm>
#include <cstring>

#include "Engines/codec/Private/CodecHeaders.h"
#include "Engines/codec/Private/CodecMap.h"
#include "Engines/codec/Private/ForeignDescriptions.h"
#include "Engines/codec/Private/Native.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;

struct ForeignReader::State {
    AVFormatContext* context = nullptr;
    PacketPointer packet{av_packet_alloc()};
    std::vector<ForeignStream> streams;
    /// Where each stream's next packet would begin, for packets without a time.
    std::vector<std::int64_t> nextTimes;

    ~State() { avformat_close_input(&context); }

    const ForeignStream* stream(int number) const {
        const auto found = std::ranges::find(streams, number, &ForeignStream::number);
        return found == streams.end() ? nullptr : &*found;
    }
};

namespace {

/// The unit in which all of a stream's times are whole numbers, where that is a movie's time scale.
std::int32_t timeScaleOf(const AVStream& stream) {
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO && stream.codecpar->sample_rate > 0) {
        return stream.codecpar->sample_rate;
    }
    AVRational base = stream.time_base;
    // Formats that count milliseconds cannot give the usual rates exactly; the rate itself can.
    const AVRational rate = stream.avg_frame_rate;
    if (base.num == 1 && base.den == 1000 && rate.num > 0 && rate.den > 0 && rate.num < 1000000) {
        return rate.den == 1 ? (600 % rate.num == 0 ? 600 : rate.num * 100) : rate.num;
    }
    if (base.num > 1) {
        av_reduce(&base.num, &base.den, 1, base.den, INT32_MAX);
    }
    return std::clamp(base.den, 1, INT32_MAX);
}

std::optional<ForeignStream> streamOf(const AVStream& native) {
    const AVCodecParameters& p = *native.codecpar;
    const bool isVideo = p.codec_type == AVMEDIA_TYPE_VIDEO;
    if (!isVideo && p.codec_type != AVMEDIA_TYPE_AUDIO) {
        return std::nullopt;
    }
    if (native.disposition & AV_DISPOSITION_ATTACHED_PIC || !avcodec_find_decoder(p.codec_id)) {
        return std::nullopt;
    }
    ForeignStream stream;
    stream.media = isVideo ? ForeignMedia::video : ForeignMedia::sound;
    stream.number = native.index;
    stream.timeScale = timeScaleOf(native);
    stream.width = p.width;
    stream.height = p.height;
    stream.channels = p.ch_layout.nb_channels;
    const AVRational aspect =
        native.sample_aspect_ratio.num > 0 ? native.sample_aspect_ratio : p.sample_aspect_ratio;
    stream.pixelAspect = {aspect.num, aspect.den};
    if (isVideo ? (p.width < 1 || p.height < 1)
                : (p.sample_rate < 1 || p.ch_layout.nb_channels < 1)) {
        return std::nullopt;
    }
    if (!isVideo) {
        const int bits = av_get_exact_bits_per_sample(p.codec_id);
        const bool pcm =
            p.codec_id >= AV_CODEC_ID_FIRST_AUDIO && p.codec_id < AV_CODEC_ID_ADPCM_IMA_QT;
        stream.bytesPerPcmFrame = pcm && bits >= 8 ? bits / 8 * p.ch_layout.nb_channels : 0;
    }
    if (!isVideo && native.duration > 0) {
        stream.frames = av_rescale_q(native.duration, native.time_base, {1, p.sample_rate});
    }
    if (const AVDictionaryEntry* language = av_dict_get(native.metadata, "language", nullptr, 0)) {
        stream.language = language->value;
    }
    stream.description = isVideo ? foreignVideoDescription(p, stream.pixelAspect)
                                 : foreignSoundDescription(p, stream.bytesPerPcmFrame);
    return stream;
}

/// What the container says of an encoder's delay and padding.
void takePadding(const AVPacket& native, ForeignPacket& packet) {
    std::size_t size = 0;
    const std::uint8_t* data = av_packet_get_side_data(&native, AV_PKT_DATA_SKIP_SAMPLES, &size);
    if (!data || size < 8) {
        return;
    }
    const auto littleEndian = [&](std::size_t at) {
        return std::uint32_t(data[at]) | std::uint32_t(data[at + 1]) << 8 |
               std::uint32_t(data[at + 2]) << 16 | std::uint32_t(data[at + 3]) << 24;
    };
    packet.framesInFront = littleEndian(0);
    packet.framesBehind = littleEndian(4);
}

}  // namespace

ForeignReader::ForeignReader(std::unique_ptr<State> state) : state_(std::move(state)) {}
ForeignReader::~ForeignReader() = default;

Expected<std::unique_ptr<ForeignReader>> ForeignReader::open(const std::string& path) {
    silenceLibrary();
    auto state = std::make_unique<State>();
    // Only files: a name is never taken for an address, and a playlist opens nothing else.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    state->context = avformat_alloc_context();
    if (!state->context) {
        return Failure{FailureKind::limit, "avformat_alloc_context", 0};
    }
    // Formats that only know when a sample is decoded get told when it is shown.
    state->context->flags |= AVFMT_FLAG_GENPTS;
    int error = avformat_open_input(&state->context, ("file:" + path).c_str(), nullptr, &options);
    av_dict_free(&options);
    if (error < 0) {
        return nativeFailure(error, path);
    }
    const std::string format = state->context->iformat->name;
    if (format.find("hls") != std::string::npos || format.find("concat") != std::string::npos ||
        format.find("image2") != std::string::npos || format.find("_pipe") != std::string::npos ||
        format == "tty") {
        return Failure{FailureKind::unsupported, path + ": not a movie", 0};
    }
    error = avformat_find_stream_info(state->context, nullptr);
    if (error < 0) {
        return nativeFailure(error, path);
    }
    bool seen = false, heard = false;
    for (unsigned i = 0; i < state->context->nb_streams; ++i) {
        auto stream = streamOf(*state->context->streams[i]);
        if (!stream) {
            state->context->streams[i]->discard = AVDISCARD_ALL;
            continue;
        }
        // Of several streams of a kind the first is shown, as players do.
        bool& had = stream->media == ForeignMedia::video ? seen : heard;
        stream->enabled = !had;
        had = true;
        state->streams.push_back(std::move(*stream));
    }
    if (state->streams.empty()) {
        return Failure{FailureKind::unsupported, path + ": nothing to see or hear", 0};
    }
    state->nextTimes.resize(state->context->nb_streams);
    return std::unique_ptr<ForeignReader>(new ForeignReader(std::move(state)));
}

const std::vector<ForeignStream>& ForeignReader::streams() const {
    return state_->streams;
}

Expected<std::optional<ForeignPacket>> ForeignReader::next() {
    for (;;) {
        av_packet_unref(state_->packet.get());
        const int error = av_read_frame(state_->context, state_->packet.get());
        if (error == AVERROR_EOF) {
            return std::optional<ForeignPacket>();
        }
        if (error < 0) {
            return nativeFailure(error, "av_read_frame");
        }
        AVPacket& native = *state_->packet;
        const ForeignStream* stream = state_->stream(native.stream_index);
        if (!stream || native.size <= 0) {
            continue;
        }
        const AVStream& source = *state_->context->streams[native.stream_index];
        const AVRational scale{1, stream->timeScale};
        std::int64_t& nextTime = state_->nextTimes[std::size_t(native.stream_index)];
        ForeignPacket result;
        result.stream = native.stream_index;
        result.position = native.pos;
        const auto in = [&](std::int64_t time) {
            return av_rescale_q(time, source.time_base, scale);
        };
        const std::int64_t start = source.start_time == AV_NOPTS_VALUE ? 0 : in(source.start_time);
        const std::int64_t decode =
            native.dts != AV_NOPTS_VALUE ? in(native.dts) - start : nextTime;
        result.packet.presentationTime =
            native.pts != AV_NOPTS_VALUE ? in(native.pts) - start : decode;
        result.packet.decodeTime = decode;
        result.packet.duration = std::max<std::int64_t>(in(native.duration), 0);
        result.packet.sync = (native.flags & AV_PKT_FLAG_KEY) != 0;
        nextTime = decode + result.packet.duration;
        takePadding(native, result);
        const auto* bytes = reinterpret_cast<const std::byte*>(native.data);
        Packet owned = Packet::owning({bytes, bytes + native.size});
        result.packet.bytes = owned.bytes;
        result.packet.owner = std::move(owned.owner);
        return std::optional<ForeignPacket>(std::move(result));
    }
}

std::vector<std::pair<std::string, std::string>> ForeignReader::metadata() const {
    std::vector<std::pair<std::string, std::string>> all;
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(state_->context->metadata, "", entry, AV_DICT_IGNORE_SUFFIX))) {
        all.emplace_back(entry->key, entry->value);
    }
    return all;
}

bool ForeignReader::isPlainSound() const {
    static constexpr const char* kFormats[] = {"wav", "aiff", "au", "w64"};
    return state_->streams.size() == 1 && state_->streams.front().bytesPerPcmFrame > 0 &&
           std::ranges::any_of(kFormats, [&](const char* format) {
               return std::strcmp(state_->context->iformat->name, format) == 0;
           });
}

}  // namespace TWQuickTime::codec
