// ProRes with one quantiser for a whole frame. Searching a quantiser for every slice costs most of
// an encoder's time; instead the sizes of the previous frames say which quantiser meets the
// profile's rate. An encoder of the library is made for each quantiser that is used: all frames
// are key frames, so it does not matter which one codes which.
#include <algorithm>
#include <array>
#include <cmath>

#include "Engines/codec/Private/EncoderFactories.h"
#include "Engines/codec/Private/PictureEncoder.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr int kLargestQuantizer = 40;

/// The profiles' bits for a macroblock, for pictures of up to 1620, 2700, 6075 and more of them.
constexpr std::array<std::array<int, 4>, 6> kBitsPerBlock = {{{300, 242, 220, 194},
                                                              {720, 560, 490, 440},
                                                              {1050, 808, 710, 632},
                                                              {1566, 1216, 1070, 950},
                                                              {2350, 1828, 1600, 1425},
                                                              {3525, 2742, 2400, 2137}}};

std::int64_t bytesPerFrame(int profile, int width, int height) {
    const std::int64_t blocks = std::int64_t((width + 15) / 16) * ((height + 15) / 16);
    const std::size_t column = blocks <= 1620 ? 0 : blocks <= 2700 ? 1 : blocks <= 6075 ? 2 : 3;
    return blocks * kBitsPerBlock[std::size_t(profile)][column] / 8;
}

class ProResEncoder : public PictureEncoder {
  public:
    ProResEncoder(VideoEncoderSettings settings, PictureTarget input, const VideoCodecEntry& entry)
        : PictureEncoder(settings),
          entry_(entry),
          target_(bytesPerFrame(entry.profile, settings_.width, settings_.height)),
          smallest_(entry.profile == 0 ? 4 : 1),
          quantizer_(std::max(smallest_, 4)),
          packet_(av_packet_alloc()),
          frame_(av_frame_alloc()) {
        input_ = input;
        if (settings_.bytesPerSecond > 0) {
            target_ = std::max<std::int64_t>(
                1, std::llround(double(settings_.bytesPerSecond) / settings_.frameRate.value()));
        }
    }

    Status prepare() {
        auto context = contextFor(quantizer_);
        return context ? Status() : Status(context.failure());
    }

    std::shared_ptr<const NativeParameters> parameters() const override {
        auto native = std::make_shared<NativeParameters>();
        for (const CodecContextPointer& context : contexts_) {
            if (context) {
                avcodec_parameters_from_context(native->parameters, context.get());
                break;
            }
        }
        native->timeBase = {1, settings_.timeScale};
        return native;
    }

  private:
    Expected<Packet> encodePicture(const VideoFrame& given) override {
        // The first picture is tried until its size fits; later ones follow their predecessors.
        for (int attempt = 0;; ++attempt) {
            auto coded = encodeWith(quantizer_, given);
            if (!coded) {
                return coded;
            }
            const std::int64_t size = std::int64_t(coded->bytes.size());
            learn(size);
            const int next = choose();
            const bool again = isFirst_ && attempt < 6 && next != quantizer_ &&
                               std::abs(size - target_) > target_ / 12;
            quantizer_ = next;
            if (again) {
                continue;
            }
            saved_ = std::clamp(saved_ + target_ - size, -4 * target_, 4 * target_);
            quantizer_ = choose();
            isFirst_ = false;
            return coded;
        }
    }

    Expected<AVCodecContext*> contextFor(int quantizer) {
        CodecContextPointer& context = contexts_[std::size_t(quantizer)];
        if (context) {
            return context.get();
        }
        silenceLibrary();
        const AVCodec* codec = installedEncoder(findVideoCodecName(entry_.type));
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
        made->thread_count = settings_.threads;
        made->thread_type = FF_THREAD_SLICE;
        made->flags |= AV_CODEC_FLAG_QSCALE;
        made->global_quality = quantizer * FF_QP2LAMBDA;
        made->codec_tag = nativeTag(settings_.codec);
        if (settings_.interlaced) {
            made->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
            made->field_order = settings_.topFieldFirst ? AV_FIELD_TT : AV_FIELD_BB;
        }
        av_opt_set_int(made->priv_data, "profile", entry_.profile, 0);
        av_opt_set_int(made->priv_data, "alpha_bits", input_.format.hasAlpha() ? 16 : 0, 0);
        if (const int error = avcodec_open2(made.get(), codec, nullptr); error < 0) {
            Failure failure = nativeFailure(error, "opening encoder prores_ks");
            failure.kind = FailureKind::unsupported;
            return failure;
        }
        context = std::move(made);
        return context.get();
    }

    Expected<Packet> encodeWith(int quantizer, const VideoFrame& given) {
        auto context = contextFor(quantizer);
        if (!context) {
            return context.failure();
        }
        if (const int error = av_frame_ref(frame_.get(), given.native()->frame); error < 0) {
            return nativeFailure(error, "av_frame_ref");
        }
        frame_->pts = submitted_++;
        frame_->interlaced_frame = settings_.interlaced;
        frame_->top_field_first = settings_.topFieldFirst;
        int error = avcodec_send_frame(*context, frame_.get());
        av_frame_unref(frame_.get());
        if (error >= 0) {
            error = avcodec_receive_packet(*context, packet_.get());
        }
        if (error < 0) {
            return nativeFailure(error, "encoder prores_ks");
        }
        return sharedPacket(*packet_);
    }

    void learn(std::int64_t size) {
        estimates_[std::size_t(quantizer_)] = double(size);
        latest_ = quantizer_;
    }

    /// What a quantiser would give, as far as the last picture tells: its size scaled by what the
    /// two gave before, else by the usual fall of sizes with the quantiser.
    double estimate(int quantizer) const {
        const double now = estimates_[std::size_t(latest_)];
        return now * std::pow(double(latest_) / quantizer, 0.75);
    }

    int choose() const {
        const double wanted = double(target_) + double(saved_) / 8;
        int best = smallest_;
        double bestDistance = INFINITY;
        for (int quantizer = smallest_; quantizer <= kLargestQuantizer; ++quantizer) {
            const double distance = std::abs(estimate(quantizer) - wanted);
            if (distance < bestDistance) {
                bestDistance = distance;
                best = quantizer;
            }
        }
        return best;
    }

    const VideoCodecEntry& entry_;
    std::int64_t target_;
    int smallest_;
    int quantizer_;
    int latest_ = 1;
    std::int64_t saved_ = 0;
    std::int64_t submitted_ = 0;
    bool isFirst_ = true;
    std::array<double, kLargestQuantizer + 1> estimates_{};
    std::array<CodecContextPointer, kLargestQuantizer + 1> contexts_;
    PacketPointer packet_;
    FramePointer frame_;
};

}  // namespace

Expected<std::unique_ptr<VideoEncoder>> openProResEncoder(const VideoEncoderSettings& settings,
                                                          const VideoCodecEntry& entry) {
    PictureTarget input;
    input.format = PixelFormat(choosePixelFormat(settings, entry));
    input.width = settings.width;
    input.height = settings.height;
    input.color = encodedColor(settings, input.format);
    auto encoder = std::make_unique<ProResEncoder>(settings, input, entry);
    if (auto status = encoder->prepare(); !status) {
        return status.failure();
    }
    return std::unique_ptr<VideoEncoder>(std::move(encoder));
}

}  // namespace TWQuickTime::codec
