#include "Engines/codec/ForeignWriter.h"

#include <algorithm>
#include <cstring>

#include "Engines/codec/Private/Native.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// Hands the muxer what is not to be heard: two little-endian numbers of 32 bits and two bytes for
/// reasons.
bool addTrim(AVPacket& packet, const SoundTrim& trim) {
    constexpr std::size_t kTrimBytes = 10;
    std::uint8_t* side = av_packet_new_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, kTrimBytes);
    if (!side) {
        return false;
    }
    std::memset(side, 0, kTrimBytes);
    AV_WL32(side, std::uint32_t(std::clamp<std::int64_t>(trim.atStart, 0, INT32_MAX)));
    AV_WL32(side + 4, std::uint32_t(std::clamp<std::int64_t>(trim.atEnd, 0, INT32_MAX)));
    return true;
}

}  // namespace

struct ForeignWriter::State {
    AVFormatContext* context = nullptr;
    std::vector<AVRational> timeBases;

    ~State() {
        if (!context) {
            return;
        }
        if (context->pb) {
            avio_closep(&context->pb);
        }
        avformat_free_context(context);
    }
};

ForeignWriter::ForeignWriter(std::unique_ptr<State> state) : state_(std::move(state)) {}
ForeignWriter::~ForeignWriter() = default;

Expected<std::unique_ptr<ForeignWriter>> ForeignWriter::create(const std::string& format,
                                                               const std::string& path) {
    silenceLibrary();
    auto state = std::make_unique<State>();
    int error =
        avformat_alloc_output_context2(&state->context, nullptr, format.c_str(), path.c_str());
    if (error < 0) {
        return nativeFailure(error, "format " + format);
    }
    // A name with a protocol in front is still a file's name here.
    error = avio_open(&state->context->pb, ("file:" + path).c_str(), AVIO_FLAG_WRITE);
    if (error < 0) {
        return nativeFailure(error, path);
    }
    state->context->flags |= AVFMT_FLAG_BITEXACT;
    state->context->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    return std::unique_ptr<ForeignWriter>(new ForeignWriter(std::move(state)));
}

Expected<int> ForeignWriter::addStream(const NativeParameters& parameters, Rational frameRate,
                                       const std::string& language) {
    AVStream* stream = avformat_new_stream(state_->context, nullptr);
    if (!stream) {
        return Failure{FailureKind::limit, "avformat_new_stream"};
    }
    if (const int error = avcodec_parameters_copy(stream->codecpar, parameters.parameters);
        error < 0) {
        return nativeFailure(error, "avcodec_parameters_copy");
    }
    stream->time_base = parameters.timeBase;
    if (frameRate.known()) {
        stream->avg_frame_rate = {frameRate.numerator, frameRate.denominator};
        if (std::strcmp(state_->context->oformat->name, "avi") == 0 ||
            std::strcmp(state_->context->oformat->name, "dv") == 0) {
            // These count frames.
            stream->time_base = av_inv_q(stream->avg_frame_rate);
        }
    }
    stream->sample_aspect_ratio = parameters.parameters->sample_aspect_ratio;
    if (!language.empty()) {
        av_dict_set(&stream->metadata, "language", language.c_str(), 0);
    }
    state_->timeBases.push_back(parameters.timeBase);
    return stream->index;
}

Status ForeignWriter::addChapter(const ForeignChapter& chapter) {
    AVFormatContext& context = *state_->context;
    auto** grown = static_cast<AVChapter**>(
        av_realloc_array(context.chapters, context.nb_chapters + 1, sizeof(AVChapter*)));
    if (!grown) {
        return Failure{FailureKind::limit, "av_realloc_array"};
    }
    context.chapters = grown;
    auto* made = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
    if (!made) {
        return Failure{FailureKind::limit, "av_mallocz"};
    }
    // The context frees it with everything else.
    context.chapters[context.nb_chapters++] = made;
    made->id = context.nb_chapters;
    made->time_base = {1, chapter.timeScale};
    made->start = chapter.start;
    made->end = chapter.end;
    av_dict_set(&made->metadata, "title", chapter.title.c_str(), 0);
    return {};
}

Status ForeignWriter::begin(const std::vector<std::pair<std::string, std::string>>& metadata) {
    for (const auto& [key, value] : metadata) {
        av_dict_set(&state_->context->metadata, key.c_str(), value.c_str(), 0);
    }
    if (const int error = avformat_write_header(state_->context, nullptr); error < 0) {
        Failure failure =
            nativeFailure(error, std::string("format ") + state_->context->oformat->name);
        if (failure.kind == FailureKind::badArgument) {
            failure.kind = FailureKind::unsupported;
        }
        return failure;
    }
    return {};
}

Status ForeignWriter::write(int stream, const Packet& packet, const SoundTrim& trim) {
    PacketPointer native(av_packet_alloc());
    if (!native || av_new_packet(native.get(), int(packet.bytes.size())) < 0) {
        return Failure{FailureKind::limit, "av_new_packet"};
    }
    std::memcpy(native->data, packet.bytes.data(), packet.bytes.size());
    native->stream_index = stream;
    native->pts = packet.presentationTime;
    native->dts = packet.decodeTime;
    native->duration = packet.duration;
    native->flags = packet.sync ? AV_PKT_FLAG_KEY : 0;
    if ((trim.atStart > 0 || trim.atEnd > 0) && !addTrim(*native, trim)) {
        return Failure{FailureKind::limit, "av_packet_new_side_data"};
    }
    av_packet_rescale_ts(native.get(), state_->timeBases[std::size_t(stream)],
                         state_->context->streams[stream]->time_base);
    const int error = av_interleaved_write_frame(state_->context, native.get());
    return error < 0 ? Status(nativeFailure(
                           error, std::string("writing ") + state_->context->oformat->name))
                     : Status();
}

Status ForeignWriter::replaceHeader(int stream, const NativeParameters& parameters) {
    const AVCodecParameters& now = *parameters.parameters;
    const AVCodecParameters& then = *state_->context->streams[stream]->codecpar;
    if (now.extradata_size == then.extradata_size &&
        (now.extradata_size == 0 ||
         std::memcmp(now.extradata, then.extradata, std::size_t(now.extradata_size)) == 0)) {
        return {};
    }
    PacketPointer native(av_packet_alloc());
    std::uint8_t* side = native ? av_packet_new_side_data(native.get(), AV_PKT_DATA_NEW_EXTRADATA,
                                                          std::size_t(now.extradata_size))
                                : nullptr;
    if (!side) {
        return Failure{FailureKind::limit, "av_packet_new_side_data"};
    }
    std::memcpy(side, now.extradata, std::size_t(now.extradata_size));
    native->stream_index = stream;
    const int error = av_write_frame(state_->context, native.get());
    return error < 0 ? Status(nativeFailure(error, "writing a codec header")) : Status();
}

Status ForeignWriter::finish() {
    if (const int error = av_write_trailer(state_->context); error < 0) {
        return nativeFailure(error, std::string("finishing ") + state_->context->oformat->name);
    }
    avio_flush(state_->context->pb);
    if (state_->context->pb->error < 0) {
        return nativeFailure(state_->context->pb->error, "writing");
    }
    if (const int error = avio_closep(&state_->context->pb); error < 0) {
        return nativeFailure(error, "closing");
    }
    return {};
}

}  // namespace TWQuickTime::codec
