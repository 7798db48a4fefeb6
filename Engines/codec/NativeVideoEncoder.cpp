#include <algorithm>
#include <cmath>
#include <deque>

#include "Engines/codec/AdaptivePalette.h"
#include "Engines/codec/PalettePicture.h"
#include "Engines/codec/Private/CodecHeaders.h"
#include "Engines/codec/Private/EncoderFactories.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

struct FrameTimes {
    std::int64_t time = 0;
    std::int64_t duration = 0;
};

class NativeVideoEncoder : public VideoEncoder {
  public:
    NativeVideoEncoder(VideoEncoderSettings settings, PictureTarget input, int qualityLambda,
                       CodecContextPointer context)
        : VideoEncoder(settings),
          context_(std::move(context)),
          packet_(av_packet_alloc()),
          frame_(av_frame_alloc()),
          qualityLambda_(qualityLambda) {
        input_ = input;
        plainFormat_ = input.format.number();
        if (context_->pix_fmt == AV_PIX_FMT_PAL8) {
            plainFormat_ = AV_PIX_FMT_PAL8;
        }
    }

    Status encode(const VideoFrame& given) override {
        VideoFrame picture = given;
        if (context_->pix_fmt == AV_PIX_FMT_PAL8) {
            // GIF carries any palette; the other codec of 256 colours has the standard one.
            auto indexed = context_->codec_id == AV_CODEC_ID_GIF ? palette_.convert(given)
                                                                 : palettePicture(given);
            if (!indexed) {
                return indexed.failure();
            }
            picture = std::move(*indexed);
        }
        if (!picture || picture.width() != context_->width ||
            picture.height() != context_->height || picture.format().number() != plainFormat_) {
            return Failure{FailureKind::badArgument, "a picture of another size or format"};
        }
        if (const int error = av_frame_ref(frame_.get(), picture.native()->frame); error < 0) {
            return nativeFailure(error, "av_frame_ref");
        }
        // The encoder counts frames; the true times wait for the packets.
        frame_->pts = sent_;
        frame_->format = context_->pix_fmt;
        frame_->quality = qualityLambda_;
        frame_->pict_type = keyFramesOnly_ ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
        frame_->interlaced_frame = settings_.interlaced;
        frame_->top_field_first = settings_.topFieldFirst;
        frame_->colorspace = context_->colorspace;
        frame_->color_range = context_->color_range;
        times_.push_back({given.time, given.duration});
        decodeTimes_.push_back(given.time);
        ++sent_;
        const int error = avcodec_send_frame(context_.get(), frame_.get());
        av_frame_unref(frame_.get());
        if (error < 0) {
            return nativeFailure(error, std::string("encoder ") + context_->codec->name);
        }
        return {};
    }

    Status finish() override {
        if (const int error = avcodec_send_frame(context_.get(), nullptr);
            error < 0 && error != AVERROR_EOF) {
            return nativeFailure(error, std::string("encoder ") + context_->codec->name);
        }
        return {};
    }

    Expected<std::optional<Packet>> receive() override {
        const int error = avcodec_receive_packet(context_.get(), packet_.get());
        if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) {
            return std::optional<Packet>();
        }
        if (error < 0) {
            return nativeFailure(error, std::string("encoder ") + context_->codec->name);
        }
        const std::int64_t index = packet_->pts == AV_NOPTS_VALUE
                                       ? received_
                                       : std::clamp<std::int64_t>(packet_->pts, 0, sent_ - 1);
        FrameTimes times{};
        if (index >= firstTime_ && index - firstTime_ < std::int64_t(times_.size())) {
            times = times_[std::size_t(index - firstTime_)];
        }
        if (received_ == 0 && packet_->dts != AV_NOPTS_VALUE) {
            // Not all encoders say it beforehand; the first picture is that much early.
            reorderDepth_ = static_cast<int>(std::clamp<std::int64_t>(-packet_->dts, 0, 64));
        }
        Packet packet = sharedPacket(*packet_);
        packet.presentationTime = times.time;
        packet.duration = times.duration;
        packet.decodeTime = decodeTimes_.empty() ? times.time : decodeTimes_.front();
        if (!decodeTimes_.empty()) {
            decodeTimes_.pop_front();
        }
        ++received_;
        // B-frames reach back a few frames at most; older times are no longer needed.
        while (firstTime_ < received_ - 64) {
            times_.pop_front();
            ++firstTime_;
        }
        packet.sync = packet.sync || intraOnly_ || received_ == 1;
        if (settings_.layout == StreamLayout::movie &&
            (context_->codec_id == AV_CODEC_ID_H264 || context_->codec_id == AV_CODEC_ID_HEVC)) {
            const bool sync = packet.sync;
            Packet prefixed = Packet::owning(lengthPrefixed(packet.bytes));
            prefixed.decodeTime = packet.decodeTime;
            prefixed.presentationTime = packet.presentationTime;
            prefixed.duration = packet.duration;
            prefixed.sync = sync;
            return std::optional<Packet>(std::move(prefixed));
        }
        return std::optional<Packet>(std::move(packet));
    }

    int reorderDepth() const override { return reorderDepth_; }

    std::shared_ptr<const NativeParameters> parameters() const override {
        auto native = std::make_shared<NativeParameters>();
        avcodec_parameters_from_context(native->parameters, context_.get());
        native->parameters->codec_tag = 0;
        native->timeBase = {1, settings_.timeScale};
        return native;
    }

  protected:
    std::vector<std::byte> codecExtensions() const override {
        const Bytes header(reinterpret_cast<const std::byte*>(context_->extradata),
                           std::size_t(context_->extradata_size));
        ByteWriter writer;
        switch (context_->codec_id) {
            case AV_CODEC_ID_H264:
                if (auto record = avcRecord(header)) {
                    const std::size_t atom = writer.openAtom(fourCode("avcC"));
                    writer.raw(*record).closeAtom(atom);
                }
                break;
            case AV_CODEC_ID_HEVC:
                if (auto record = hevcRecord(header, 1, 8)) {
                    const std::size_t atom = writer.openAtom(fourCode("hvcC"));
                    writer.raw(*record).closeAtom(atom);
                }
                break;
            case AV_CODEC_ID_MPEG4: {
                const auto bits = static_cast<std::uint32_t>(
                    std::clamp<std::int64_t>(context_->bit_rate, 0, 0xFFFFFFFF));
                const std::size_t atom = writer.openAtom(fourCode("esds"));
                writer.raw(esdsPayload(0x20, false, 0, bits, bits, header)).closeAtom(atom);
                break;
            }
            case AV_CODEC_ID_FFV1: {
                const std::size_t atom = writer.openAtom(fourCode("glbl"));
                writer.raw(header).closeAtom(atom);
                break;
            }
            case AV_CODEC_ID_VP9: {
                const std::size_t atom = writer.openAtom(fourCode("vpcC"));
                writer.u32(0x01000000).u8(0).u8(10).u8((8 << 4) | (1 << 1)).u8(2).u8(2).u8(2);
                writer.u16(0).closeAtom(atom);
                break;
            }
            case AV_CODEC_ID_DNXHD:
                avidExtensions(writer);
                break;
            default:
                break;
        }
        return writer.take();
    }

  private:
    /// Avid's own atoms, without which its decoders do not know the levels and the field order.
    void avidExtensions(ByteWriter& writer) const {
        const auto text = [&](const char(&chars)[9]) {
            writer.raw(std::as_bytes(std::span(chars, 8)));
        };
        std::size_t atom = writer.openAtom(fourCode("ACLR"));
        text("ACLR0001");
        writer.u32(1).u32(0).closeAtom(atom);
        atom = writer.openAtom(fourCode("APRG"));
        text("APRG0001");
        writer.u32(1).u32(0).closeAtom(atom);
    }

    CodecContextPointer context_;
    PacketPointer packet_;
    FramePointer frame_;
    AdaptivePalette palette_;
    int qualityLambda_ = 0;
    int plainFormat_ = -1;
    int reorderDepth_ = context_->has_b_frames;  ///< settled with the first packet
    bool intraOnly_ = isIntraOnly(context_->codec_id);
    /// Encoders of AV1 understand no distance of one; each picture has to ask to be a key frame.
    bool keyFramesOnly_ = context_->codec_id == AV_CODEC_ID_AV1 && settings_.keyFrameEvery == 1;
    std::int64_t sent_ = 0;
    std::int64_t received_ = 0;
    std::int64_t firstTime_ = 0;
    std::deque<FrameTimes> times_;
    std::deque<std::int64_t> decodeTimes_;

    static bool isIntraOnly(AVCodecID id) {
        const AVCodecDescriptor* descriptor = avcodec_descriptor_get(id);
        return descriptor && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
    }
};

void setOption(AVCodecContext& context, const char* name, const std::string& value) {
    av_opt_set(context.priv_data, name, value.c_str(), 0);
}

/// The nearest frame rate that the codec may have.
AVRational permittedRate(const AVCodec& codec, Rational wanted) {
    const AVRational rate{wanted.numerator, wanted.denominator};
    if (!codec.supported_framerates) {
        return rate;
    }
    return codec.supported_framerates[av_find_nearest_q_idx(rate, codec.supported_framerates)];
}

void setRate(AVCodecContext& context, const VideoEncoderSettings& settings) {
    const std::int64_t bits = settings.bytesPerSecond * 8;
    context.bit_rate = bits;
    context.rc_max_rate = bits + bits / 2;
    context.rc_buffer_size = static_cast<int>(std::min<std::int64_t>(bits * 2, 1 << 30));
    // The library's default is meant for large pictures; small ones would never come to their rate.
    context.bit_rate_tolerance = static_cast<int>(std::min<std::int64_t>(bits / 4, 1 << 30));
}

void setX264(AVCodecContext& context, const VideoEncoderSettings& settings,
             const VideoCodecEntry& entry) {
    setOption(context, "preset", "medium");
    // How much better key frames are than the others: 1 is no better, the usual is 0.71. One
    // encoder wants the ratio of the quantisers, the other its inverse.
    const double ratio = 0.45 + 0.52 * std::clamp(settings.temporalQuality, 0, 1024) / 1024.0;
    const bool isHevc = entry.id == AV_CODEC_ID_HEVC;
    context.i_quant_factor = static_cast<float>(isHevc ? 1 / ratio : ratio);
    if (isHevc) {
        // Open groups of pictures would put key frames further apart than asked.
        setOption(context, "x265-params", "log-level=none:open-gop=0");
    }
    if (settings.bytesPerSecond > 0) {
        setRate(context, settings);
        return;
    }
    setOption(context, "crf", std::to_string(mappedQuality(entry, settings.spatialQuality)));
    if (settings.spatialQuality >= kQualityLossless && entry.id == AV_CODEC_ID_H264) {
        setOption(context, "qp", "0");
    }
}

void setVpx(AVCodecContext& context, const VideoEncoderSettings& settings,
            const VideoCodecEntry& entry) {
    const int crf = int(std::lround(mappedQuality(entry, settings.spatialQuality)));
    if (settings.bytesPerSecond > 0) {
        context.bit_rate = settings.bytesPerSecond * 8;
    } else {
        setOption(context, "crf", std::to_string(crf));
        // VP8 takes a ceiling along with the quality, VP9 none.
        context.bit_rate = entry.id == AV_CODEC_ID_VP8 ? 100'000'000 : 0;
    }
    if (entry.id == AV_CODEC_ID_AV1) {
        setOption(context, "preset", "8");
        if (settings.keyFrameEvery == 1) {
            setOption(context, "svtav1-params", "enable-force-key-frames=1");
        }
        return;
    }
    setOption(context, "deadline", "good");
    setOption(context, "cpu-used", "4");
    if (entry.id == AV_CODEC_ID_VP9) {
        setOption(context, "row-mt", "1");
        if (settings.spatialQuality >= kQualityLossless) {
            setOption(context, "lossless", "1");
        }
    }
}

/// DNxHD has a handful of sizes and rates; every other picture is coded as DNxHR.
void setDnx(AVCodecContext& context, const VideoEncoderSettings& settings) {
    const bool high = settings.spatialQuality >= 768;
    const bool low = settings.spatialQuality < 256;
    setOption(context, "profile", high ? "dnxhr_hq" : low ? "dnxhr_lb" : "dnxhr_sq");
}

/// Settings by the scale of the codec.
/// @return the quality in the library's units that each frame carries, 0 for none
int setQuality(AVCodecContext& context, const VideoEncoderSettings& settings,
               const VideoCodecEntry& entry) {
    switch (entry.id) {
        case AV_CODEC_ID_H264:
        case AV_CODEC_ID_HEVC:
            setX264(context, settings, entry);
            return 0;
        case AV_CODEC_ID_VP8:
        case AV_CODEC_ID_VP9:
        case AV_CODEC_ID_AV1:
            setVpx(context, settings, entry);
            return 0;
        case AV_CODEC_ID_DNXHD:
            setDnx(context, settings);
            return 0;
        case AV_CODEC_ID_HAP:
            setOption(context, "format",
                      settings.codec == fourCode("Hap5")   ? "hap_alpha"
                      : settings.codec == fourCode("HapY") ? "hap_q"
                                                           : "hap");
            return 0;
        default:
            break;
    }
    if (entry.scale != QualityScale::quantizer && entry.scale != QualityScale::lavcGlobal) {
        return 0;
    }
    if (settings.bytesPerSecond > 0 && entry.scale == QualityScale::quantizer) {
        setRate(context, settings);
        return 0;
    }
    const int lambda =
        int(std::lround(mappedQuality(entry, settings.spatialQuality) * FF_QP2LAMBDA));
    context.flags |= AV_CODEC_FLAG_QSCALE;
    context.global_quality = lambda;
    return lambda;
}

/// Full-range planar formats have a number of their own in the MJPEG encoder.
AVPixelFormat plainOf(AVPixelFormat format) {
    switch (format) {
        case AV_PIX_FMT_YUVJ420P:
            return AV_PIX_FMT_YUV420P;
        case AV_PIX_FMT_YUVJ422P:
            return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P:
            return AV_PIX_FMT_YUV444P;
        default:
            return format;
    }
}

PictureTarget inputOf(const VideoEncoderSettings& settings, AVPixelFormat format) {
    PictureTarget input;
    const bool indexed = format == AV_PIX_FMT_PAL8;
    input.format = indexed ? PixelFormat::rgb24() : PixelFormat(plainOf(format));
    input.width = settings.width;
    input.height = settings.height;
    input.color = encodedColor(settings, input.format);
    if (settings.codec == fourCode("AVdn") || settings.codec == fourCode("AVdh")) {
        // Its decoders take BT.709 for granted.
        input.color.matrix = 1;
    }
    if (plainOf(format) != format) {
        input.color.range = ColorRange::full;
        input.color.matrix = 5;
    }
    return input;
}

}  // namespace

Expected<std::unique_ptr<VideoEncoder>> openNativeEncoder(const VideoEncoderSettings& settings,
                                                          const VideoCodecEntry& entry) {
    silenceLibrary();
    const AVCodec* codec = installedEncoder(findVideoCodecName(entry.type));
    if (!codec) {
        return Failure{FailureKind::notAvailable, "no encoder for this video codec type"};
    }
    CodecContextPointer context(avcodec_alloc_context3(codec));
    if (!context) {
        return Failure{FailureKind::limit, "avcodec_alloc_context3"};
    }
    const AVPixelFormat format = choosePixelFormat(settings, entry);
    const PictureTarget input = inputOf(settings, format);
    const AVRational rate = permittedRate(*codec, settings.frameRate);
    context->width = settings.width;
    context->height = settings.height;
    context->pix_fmt = format;
    context->time_base = av_inv_q(rate);
    context->framerate = rate;
    if (settings.pixelAspect.known()) {
        context->sample_aspect_ratio = {settings.pixelAspect.numerator,
                                        settings.pixelAspect.denominator};
    }
    context->color_primaries = static_cast<AVColorPrimaries>(input.color.primaries);
    context->color_trc = static_cast<AVColorTransferCharacteristic>(input.color.transfer);
    context->colorspace = static_cast<AVColorSpace>(input.color.matrix);
    context->color_range =
        input.format.isRgb() ? AVCOL_RANGE_UNSPECIFIED : nativeRange(input.color.range);
    context->thread_count = settings.threads;
    context->field_order = !settings.interlaced     ? AV_FIELD_PROGRESSIVE
                           : settings.topFieldFirst ? AV_FIELD_TT
                                                    : AV_FIELD_BB;
    if (settings.interlaced) {
        context->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    }
    if (settings.keyFrameEvery > 0) {
        context->gop_size = settings.keyFrameEvery == 1 ? 0 : settings.keyFrameEvery;
        const bool knowsOne = entry.scale == QualityScale::crf && entry.id != AV_CODEC_ID_AV1;
        if (knowsOne && settings.keyFrameEvery == 1) {
            context->gop_size = 1;
        }
    }
    if (!settings.reorder) {
        context->max_b_frames = 0;
    }
    context->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    if (settings.layout != StreamLayout::inBand) {
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    context->codec_tag = settings.layout == StreamLayout::movie ? nativeTag(settings.codec) : 0;
    const int lambda = setQuality(*context, settings, entry);
    if (const int error = avcodec_open2(context.get(), codec, nullptr); error < 0) {
        Failure failure = nativeFailure(error, std::string("opening encoder ") + codec->name);
        failure.kind = error == AVERROR(ENOMEM) ? FailureKind::limit : FailureKind::unsupported;
        return failure;
    }
    return std::unique_ptr<VideoEncoder>(
        std::make_unique<NativeVideoEncoder>(settings, input, lambda, std::move(context)));
}

}  // namespace TWQuickTime::codec
