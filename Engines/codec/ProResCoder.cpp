#include "Engines/codec/Private/ProResCoder.h"

#include "Engines/codec/Private/EncoderFactories.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

ProResCoder::ProResCoder(const VideoEncoderSettings& settings, const PictureTarget& input,
                         const VideoCodecEntry& entry)
    : settings_(settings),
      input_(input),
      entry_(&entry),
      packet_(av_packet_alloc()),
      frame_(av_frame_alloc()) {}

Status ProResCoder::prepare(int quantizer) {
    if (encoder_ && quantizer_ == quantizer) {
        return {};
    }
    encoder_.reset();
    auto opened = open(quantizer);
    if (!opened) {
        return opened.failure();
    }
    encoder_ = std::move(*opened);
    quantizer_ = quantizer;
    return {};
}

Expected<CodecContextPointer> ProResCoder::open(int quantizer) const {
    silenceLibrary();
    const AVCodec* codec = installedEncoder(findVideoCodecName(entry_->type));
    if (!codec) {
        return Failure{FailureKind::notAvailable, "no ProRes encoder"};
    }
    CodecContextPointer made(avcodec_alloc_context3(codec));
    if (!made) {
        return Failure{FailureKind::limit, "avcodec_alloc_context3"};
    }
    made->width = settings_.width;
    made->height = settings_.height;
    made->pix_fmt = static_cast<AVPixelFormat>(input_.format.number());
    made->framerate = {settings_.frameRate.numerator, settings_.frameRate.denominator};
    made->time_base = av_inv_q(made->framerate);
    if (settings_.pixelAspect.known()) {
        made->sample_aspect_ratio = {settings_.pixelAspect.numerator,
                                     settings_.pixelAspect.denominator};
    }
    made->color_primaries = static_cast<AVColorPrimaries>(input_.color.primaries);
    made->color_trc = static_cast<AVColorTransferCharacteristic>(input_.color.transfer);
    made->colorspace = static_cast<AVColorSpace>(input_.color.matrix);
    // With a quantiser given the library codes slice after slice.
    made->thread_count = 1;
    made->flags |= AV_CODEC_FLAG_QSCALE;
    made->global_quality = quantizer * FF_QP2LAMBDA;
    made->codec_tag = nativeTag(settings_.codec);
    if (settings_.interlaced) {
        made->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
        made->field_order = settings_.topFieldFirst ? AV_FIELD_TT : AV_FIELD_BB;
    }
    av_opt_set_int(made->priv_data, "profile", entry_->profile, 0);
    av_opt_set_int(made->priv_data, "alpha_bits", input_.format.hasAlpha() ? 16 : 0, 0);
    if (const int error = avcodec_open2(made.get(), codec, nullptr); error < 0) {
        Failure failure = nativeFailure(error, "opening encoder prores_ks");
        failure.kind = FailureKind::unsupported;
        return failure;
    }
    return made;
}

Expected<Packet> ProResCoder::code(const VideoFrame& picture, int quantizer) {
    if (auto status = prepare(quantizer); !status) {
        return status.failure();
    }
    if (const int error = av_frame_ref(frame_.get(), picture.native()->frame); error < 0) {
        return nativeFailure(error, "av_frame_ref");
    }
    frame_->pts = coded_++;
    frame_->interlaced_frame = settings_.interlaced;
    frame_->top_field_first = settings_.topFieldFirst;
    int error = avcodec_send_frame(encoder_.get(), frame_.get());
    av_frame_unref(frame_.get());
    if (error >= 0) {
        error = avcodec_receive_packet(encoder_.get(), packet_.get());
    }
    if (error < 0) {
        return nativeFailure(error, "encoder prores_ks");
    }
    return sharedPacket(*packet_);
}

void ProResCoder::describe(AVCodecParameters& parameters) const {
    avcodec_parameters_from_context(&parameters, encoder_.get());
}

}  // namespace TWQuickTime::codec
