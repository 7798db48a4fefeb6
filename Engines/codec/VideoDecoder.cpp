#include "Engines/codec/VideoDecoder.h"

#include <cstring>

#include "Engines/codec/JpegDecoder.h"
#include "Engines/codec/Private/CodecMap.h"
#include "Engines/codec/Private/DecoderConfiguration.h"
#include "Engines/codec/Private/FramePool.h"
#include "Engines/codec/Private/Native.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// The plain name of a format that carries "full range" in its number.
AVPixelFormat withoutRange(AVPixelFormat format) {
    switch (format) {
        case AV_PIX_FMT_YUVJ420P:
            return AV_PIX_FMT_YUV420P;
        case AV_PIX_FMT_YUVJ422P:
            return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P:
            return AV_PIX_FMT_YUV444P;
        case AV_PIX_FMT_YUVJ440P:
            return AV_PIX_FMT_YUV440P;
        case AV_PIX_FMT_YUVJ411P:
            return AV_PIX_FMT_YUV411P;
        default:
            return format;
    }
}

void fillColor(ColorTags& color, const ColorTags& otherwise) {
    color.primaries = color.primaries == 2 ? otherwise.primaries : color.primaries;
    color.transfer = color.transfer == 2 ? otherwise.transfer : color.transfer;
    color.matrix = color.matrix == 2 ? otherwise.matrix : color.matrix;
    color.range = color.range == ColorRange::unspecified ? otherwise.range : color.range;
}

class NativeVideoDecoder : public VideoDecoder {
  public:
    NativeVideoDecoder(VideoDescription description, std::unique_ptr<FramePool> frames,
                       CodecContextPointer context)
        : VideoDecoder(std::move(description)),
          frames_(std::move(frames)),
          context_(std::move(context)),
          packet_(av_packet_alloc()) {}

    Status send(const Packet& packet) override {
        // The library reads a little past the end of its input, so it gets a padded copy.
        av_packet_unref(packet_.get());
        if (packet.bytes.size() > (1u << 30)) {
            return Failure{FailureKind::limit, "a video sample of more than 1 GiB"};
        }
        if (packet.bytes.empty()) {
            return {};
        }
        if (const int error = av_new_packet(packet_.get(), static_cast<int>(packet.bytes.size()));
            error < 0) {
            return nativeFailure(error, "av_new_packet");
        }
        std::memcpy(packet_->data, packet.bytes.data(), packet.bytes.size());
        packet_->pts = packet.presentationTime;
        packet_->dts = packet.decodeTime;
        packet_->duration = packet.duration;
        packet_->flags = packet.sync ? AV_PKT_FLAG_KEY : 0;
        if (!paletteSent_ && !description_.palette.empty()) {
            paletteSent_ = true;
            if (std::uint8_t* side =
                    av_packet_new_side_data(packet_.get(), AV_PKT_DATA_PALETTE, AVPALETTE_SIZE)) {
                std::memset(side, 0, AVPALETTE_SIZE);
                std::memcpy(side, description_.palette.data(),
                            std::min<std::size_t>(description_.palette.size(), 256) * 4);
            }
        }
        const int error = avcodec_send_packet(context_.get(), packet_.get());
        if (error < 0 && error != AVERROR_EOF) {
            return nativeFailure(error, "avcodec_send_packet");
        }
        return {};
    }

    Status sendEnd() override {
        const int error = avcodec_send_packet(context_.get(), nullptr);
        if (error < 0 && error != AVERROR_EOF) {
            return nativeFailure(error, "avcodec_send_packet");
        }
        return {};
    }

    Expected<std::optional<VideoFrame>> receive() override {
        auto native = std::make_shared<NativeFrame>();
        const int error = avcodec_receive_frame(context_.get(), native->frame);
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) {
            return std::optional<VideoFrame>();
        }
        if (error < 0) {
            return nativeFailure(error, "avcodec_receive_frame");
        }
        AVFrame& picture = *native->frame;
        const auto plain = withoutRange(static_cast<AVPixelFormat>(picture.format));
        if (plain != picture.format) {
            picture.format = plain;
            picture.color_range = AVCOL_RANGE_JPEG;
        }
        VideoFrame frame(std::move(native));
        frame.time = picture.pts;
        frame.duration = picture.pkt_duration;
        frame.keyFrame = picture.key_frame != 0;
        frame.interlaced = picture.interlaced_frame != 0;
        frame.topFieldFirst = picture.top_field_first != 0;
        // The container's tags are the author's last word; the stream's fill in the rest.
        frame.color = description_.color;
        fillColor(frame.color, tagsOf(picture));
        frame.pixelAspect =
            description_.pixelAspect.known()
                ? description_.pixelAspect
                : Rational{picture.sample_aspect_ratio.num, picture.sample_aspect_ratio.den};
        return std::optional<VideoFrame>(std::move(frame));
    }

    void flush() override {
        avcodec_flush_buffers(context_.get());
        paletteSent_ = false;
    }

    void skipUnreferencedFrames(bool skip) override {
        context_->skip_frame = skip ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
    }

  private:
    std::unique_ptr<FramePool> frames_;
    CodecContextPointer context_;
    PacketPointer packet_;
    bool paletteSent_ = false;
};

Expected<std::unique_ptr<VideoDecoder>> openNative(VideoDescription description, Bytes record,
                                                   const VideoDecoderOptions& options) {
    silenceLibrary();
    const DecoderConfiguration configuration = videoConfiguration(description, record);
    const AVCodec* codec =
        configuration.id == AV_CODEC_ID_NONE ? nullptr : avcodec_find_decoder(configuration.id);
    if (!codec) {
        return Failure{FailureKind::notAvailable, "no decoder for this video codec type"};
    }
    auto frames = std::make_unique<FramePool>();
    CodecContextPointer context(avcodec_alloc_context3(codec));
    if (!context) {
        return Failure{FailureKind::limit, "avcodec_alloc_context3"};
    }
    frames->serve(*context);
    context->codec_tag = nativeTag(description.format);
    context->width = description.width;
    context->height = description.height;
    context->bits_per_coded_sample = description.depth;
    context->thread_count = options.threads;
    context->thread_type = options.lowDelay ? FF_THREAD_SLICE : (FF_THREAD_FRAME | FF_THREAD_SLICE);
    context->err_recognition = 0;
    context->pkt_timebase = {1, 600};
    if (configuration.id == AV_CODEC_ID_RAWVIDEO &&
        (description.format == fourCode("2vuy") || description.format == fourCode("2Vuy"))) {
        context->codec_tag = nativeTag(fourCode("2vuy"));
    }
    if (auto status = setExtraData(*context, configuration.extraData); !status) {
        return status.failure();
    }
    if (const int error = avcodec_open2(context.get(), codec, nullptr); error < 0) {
        return nativeFailure(error, std::string("opening decoder ") + codec->name);
    }
    return std::unique_ptr<VideoDecoder>(std::make_unique<NativeVideoDecoder>(
        std::move(description), std::move(frames), std::move(context)));
}

}  // namespace

Expected<std::unique_ptr<VideoDecoder>> VideoDecoder::open(Bytes sampleDescription,
                                                           const VideoDecoderOptions& options) {
    auto description = readVideoDescription(sampleDescription);
    if (!description) {
        return description.failure();
    }
    auto native = openNative(*description, sampleDescription, options);
    if (native && description->format == fourCode("jpeg") && !description->interlaced) {
        return makeJpegDecoder(*description, std::move(*native));
    }
    return native;
}

}  // namespace TWQuickTime::codec
