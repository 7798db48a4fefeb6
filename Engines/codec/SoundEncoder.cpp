#include "Engines/codec/SoundEncoder.h"

#include <algorithm>
#include <cstring>
#include <deque>

#include "Engines/codec/Private/CodecMap.h"
#include "Engines/codec/Private/Native.h"
#include "Engines/codec/Private/SampleTypeConverter.h"
#include "Engines/codec/Private/SoundRecords.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// The most frames in a packet of a codec that takes any number.
constexpr std::size_t kFramesOfFreePackets = 32768;

/// The type that is really written: wide samples have types of their own.
struct Chosen {
    std::uint32_t type = 0;
    const char* encoder = nullptr;
    AVCodecID id = AV_CODEC_ID_NONE;
    int bits = 16;
    bool littleEndian = false;
    bool floatingPoint = false;
};

Chosen pcmOf(std::uint32_t type, int bits, bool little) {
    const auto integer = [&](std::uint32_t narrow, const char* eight, AVCodecID eightId) {
        if (bits <= 8) {
            return Chosen{narrow, eight, eightId, 8, little, false};
        }
        if (bits <= 16) {
            return little ? Chosen{narrow, "pcm_s16le", AV_CODEC_ID_PCM_S16LE, 16, true, false}
                          : Chosen{narrow, "pcm_s16be", AV_CODEC_ID_PCM_S16BE, 16, false, false};
        }
        const bool keepsType = narrow == fourCode("lpcm");
        if (bits <= 24) {
            const std::uint32_t wide = keepsType ? narrow : fourCode("in24");
            return little ? Chosen{wide, "pcm_s24le", AV_CODEC_ID_PCM_S24LE, 24, true, false}
                          : Chosen{wide, "pcm_s24be", AV_CODEC_ID_PCM_S24BE, 24, false, false};
        }
        const std::uint32_t wide = keepsType ? narrow : fourCode("in32");
        return little ? Chosen{wide, "pcm_s32le", AV_CODEC_ID_PCM_S32LE, 32, true, false}
                      : Chosen{wide, "pcm_s32be", AV_CODEC_ID_PCM_S32BE, 32, false, false};
    };
    switch (type) {
        case fourCode("raw "):
            return bits <= 8 ? Chosen{type, "pcm_u8", AV_CODEC_ID_PCM_U8, 8, false, false}
                             : integer(fourCode("twos"), "pcm_s8", AV_CODEC_ID_PCM_S8);
        case fourCode("lpcm"):
            return integer(type, "pcm_s8", AV_CODEC_ID_PCM_S8);
        case fourCode("in24"):
            bits = 24;
            return integer(type, "pcm_s8", AV_CODEC_ID_PCM_S8);
        case fourCode("in32"):
            bits = 32;
            return integer(type, "pcm_s8", AV_CODEC_ID_PCM_S8);
        case fourCode("fl32"):
            return little ? Chosen{type, "pcm_f32le", AV_CODEC_ID_PCM_F32LE, 32, true, true}
                          : Chosen{type, "pcm_f32be", AV_CODEC_ID_PCM_F32BE, 32, false, true};
        case fourCode("fl64"):
            return little ? Chosen{type, "pcm_f64le", AV_CODEC_ID_PCM_F64LE, 64, true, true}
                          : Chosen{type, "pcm_f64be", AV_CODEC_ID_PCM_F64BE, 64, false, true};
        case fourCode("ulaw"):
            return {type, "pcm_mulaw", AV_CODEC_ID_PCM_MULAW, 8, false, false};
        case fourCode("alaw"):
            return {type, "pcm_alaw", AV_CODEC_ID_PCM_ALAW, 8, false, false};
        default:
            return integer(type, "pcm_s8", AV_CODEC_ID_PCM_S8);
    }
}

std::int64_t usualBits(AVCodecID id, int channels, int rate) {
    const std::int64_t perChannel = id == AV_CODEC_ID_OPUS  ? 64000
                                    : id == AV_CODEC_ID_MP2 ? 112000
                                    : id == AV_CODEC_ID_MP3 ? 96000
                                                            : 80000;
    if (id == AV_CODEC_ID_DTS) {
        return channels > 2 ? 1509000 : 768000;
    }
    if (id == AV_CODEC_ID_AC3 || id == AV_CODEC_ID_EAC3) {
        return channels > 2 ? 448000 : channels == 2 ? 192000 : 96000;
    }
    // Half the rate carries half the sound.
    const std::int64_t bits = perChannel * channels;
    if (id == AV_CODEC_ID_AAC && rate < 32000) {
        return bits * rate / 44100;
    }
    if ((id == AV_CODEC_ID_MP3 || id == AV_CODEC_ID_MP2) && rate < 32000) {
        return 64000;
    }
    return bits;
}

class NativeSoundEncoder : public SoundEncoder {
  public:
    NativeSoundEncoder(SoundEncoderSettings settings, const Chosen& chosen, bool pcm,
                       CodecContextPointer context)
        : SoundEncoder(settings),
          chosen_(chosen),
          context_(std::move(context)),
          packet_(av_packet_alloc()),
          frame_(av_frame_alloc()) {
        if (pcm) {
            bytesPerFrame_ = chosen.bits / 8 * settings_.channels;
        }
        framesPerPacket_ =
            context_->frame_size > 0 ? std::size_t(context_->frame_size) : kFramesOfFreePackets;
    }

    Status encode(std::span<const float> interleaved) override {
        const auto channels = std::size_t(settings_.channels);
        // Whole packets are taken from the input; only a rest is kept, where packets have a size.
        if (!pending_.empty()) {
            const std::size_t wanted = framesPerPacket_ * channels - pending_.size();
            const std::size_t taken = std::min(wanted, interleaved.size());
            pending_.insert(pending_.end(), interleaved.begin(),
                            interleaved.begin() + std::ptrdiff_t(taken));
            interleaved = interleaved.subspan(taken);
            if (pending_.size() == framesPerPacket_ * channels) {
                auto status = send(pending_);
                pending_.clear();
                if (!status) {
                    return status;
                }
            }
        }
        while (interleaved.size() >= framesPerPacket_ * channels) {
            if (auto status = send(interleaved.first(framesPerPacket_ * channels)); !status) {
                return status;
            }
            interleaved = interleaved.subspan(framesPerPacket_ * channels);
        }
        if (context_->frame_size == 0 && !interleaved.empty()) {
            return send(interleaved);
        }
        pending_.insert(pending_.end(), interleaved.begin(), interleaved.end());
        return {};
    }

    Status finish() override {
        if (const int delay = unreportedDelay(); delay > 0) {
            const std::vector<float> silence(std::size_t(delay) * std::size_t(settings_.channels));
            if (auto status = encode(silence); !status) {
                return status;
            }
        }
        if (!pending_.empty()) {
            const bool shortAllowed =
                context_->codec->capabilities &
                (AV_CODEC_CAP_SMALL_LAST_FRAME | AV_CODEC_CAP_VARIABLE_FRAME_SIZE);
            if (!shortAllowed) {
                pending_.resize(framesPerPacket_ * std::size_t(settings_.channels));
            }
            if (auto status = send(pending_); !status) {
                return status;
            }
            pending_.clear();
        }
        if (const int error = avcodec_send_frame(context_.get(), nullptr);
            error < 0 && error != AVERROR_EOF) {
            return nativeFailure(error, std::string("encoder ") + context_->codec->name);
        }
        return {};
    }

    Expected<std::optional<Packet>> receive() override {
        if (ready_.empty()) {
            if (auto status = collect(); !status) {
                return status.failure();
            }
        }
        if (ready_.empty()) {
            return std::optional<Packet>();
        }
        std::optional<Packet> packet(std::move(ready_.front()));
        ready_.pop_front();
        return packet;
    }

    int bytesPerPcmFrame() const override { return bytesPerFrame_; }
    int framesPerPacket() const override {
        // Not those whose packets readers put together anew: they would cut the one in front.
        switch (context_->codec_id) {
            case AV_CODEC_ID_AAC:
            case AV_CODEC_ID_MP3:
            case AV_CODEC_ID_OPUS:
                return context_->frame_size;
            default:
                return 0;
        }
    }
    int primingFrames() const override { return context_->initial_padding + unreportedDelay(); }

    std::vector<std::byte> sampleDescription(bool isoStyle) const override {
        SoundRecordFacts facts;
        facts.id = context_->codec_id;
        facts.settings = settings_;
        facts.framesPerPacket = int(framesPerPacket_);
        facts.bytesPerPcmFrame = bytesPerFrame_;
        facts.blockAlign = context_->block_align;
        facts.littleEndian = chosen_.littleEndian;
        facts.floatingPoint = chosen_.floatingPoint;
        facts.bitRate = context_->bit_rate;
        facts.extraData = lateHeader_.empty()
                              ? Bytes(reinterpret_cast<const std::byte*>(context_->extradata),
                                      std::size_t(context_->extradata_size))
                              : Bytes(lateHeader_);
        facts.firstPacket = firstPacket_;
        return soundRecord(facts, isoStyle);
    }

    std::shared_ptr<const NativeParameters> parameters() const override {
        auto native = std::make_shared<NativeParameters>();
        avcodec_parameters_from_context(native->parameters, context_.get());
        native->parameters->codec_tag = 0;
        native->timeBase = {1, settings_.sampleRate};
        if (!lateHeader_.empty() &&
            lateHeader_.size() == std::size_t(native->parameters->extradata_size)) {
            std::memcpy(native->parameters->extradata, lateHeader_.data(), lateHeader_.size());
        }
        return native;
    }

  private:
    /// Frames by which the library's encoder is late without saying so, or making up for it at the
    /// end.
    int unreportedDelay() const {
        constexpr int kSubbandFilterOfDts = 512;
        return context_->codec_id == AV_CODEC_ID_DTS ? kSubbandFilterOfDts : 0;
    }

    /// Takes over all packets that the encoder has ready; it takes no more sound before.
    Status collect() {
        for (;;) {
            const int error = avcodec_receive_packet(context_.get(), packet_.get());
            if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) {
                return {};
            }
            if (error < 0) {
                return nativeFailure(error, std::string("encoder ") + context_->codec->name);
            }
            keepLateHeader();
            if (packet_->size == 0) {
                // Nothing but the header that only the end of the sound could complete.
                av_packet_unref(packet_.get());
                continue;
            }
            const std::int64_t duration = packet_->duration;
            const std::int64_t time = packet_->pts;
            Packet packet = takeShared();
            packet.duration = bytesPerFrame_ > 0
                                  ? std::int64_t(packet.bytes.size()) / bytesPerFrame_
                              : duration > 0 ? duration
                                             : std::int64_t(framesPerPacket_);
            if (firstPacket_.empty()) {
                const auto head =
                    packet.bytes.first(std::min<std::size_t>(64, packet.bytes.size()));
                firstPacket_.assign(head.begin(), head.end());
            }
            // Packets of Vorbis differ in length, and its encoder knows its delay only now.
            const bool timed = bytesPerFrame_ == 0 && time != AV_NOPTS_VALUE;
            packet.presentationTime = packet.decodeTime =
                timed ? time + context_->initial_padding : position_;
            position_ = packet.presentationTime + packet.duration;
            ready_.push_back(std::move(packet));
        }
    }

    void keepLateHeader() {
        std::size_t size = 0;
        if (const std::uint8_t* side =
                av_packet_get_side_data(packet_.get(), AV_PKT_DATA_NEW_EXTRADATA, &size)) {
            const auto* bytes = reinterpret_cast<const std::byte*>(side);
            lateHeader_.assign(bytes, bytes + size);
        }
    }

    Packet takeShared() {
        std::shared_ptr<AVPacket> kept(av_packet_alloc(),
                                       [](AVPacket* packet) { av_packet_free(&packet); });
        av_packet_move_ref(kept.get(), packet_.get());
        Packet packet;
        packet.bytes = {reinterpret_cast<const std::byte*>(kept->data), std::size_t(kept->size)};
        packet.owner = std::move(kept);
        return packet;
    }

    Status send(std::span<const float> samples) {
        frame_->nb_samples = int(samples.size() / std::size_t(settings_.channels));
        frame_->format = context_->sample_fmt;
        frame_->sample_rate = context_->sample_rate;
        av_channel_layout_copy(&frame_->ch_layout, &context_->ch_layout);
        if (const int error = av_frame_get_buffer(frame_.get(), 0); error < 0) {
            return nativeFailure(error, "av_frame_get_buffer");
        }
        if (auto status = converter_.fill(*frame_, samples); !status) {
            return status;
        }
        frame_->pts = sent_;
        sent_ += frame_->nb_samples;
        const int error = avcodec_send_frame(context_.get(), frame_.get());
        av_frame_unref(frame_.get());
        if (error < 0) {
            return nativeFailure(error, std::string("encoder ") + context_->codec->name);
        }
        return collect();
    }

    Chosen chosen_;
    CodecContextPointer context_;
    PacketPointer packet_;
    FramePointer frame_;
    SampleTypeConverter converter_;
    std::vector<float> pending_;
    std::deque<Packet> ready_;
    std::vector<std::byte> lateHeader_;
    std::vector<std::byte> firstPacket_;
    std::size_t framesPerPacket_ = 0;
    int bytesPerFrame_ = 0;
    std::int64_t sent_ = 0;
    std::int64_t position_ = 0;
};

/// The sample format in which the encoder loses nothing of the width that is asked for.
AVSampleFormat chooseSampleFormat(const AVCodec& codec, int bits) {
    AVSampleFormat best = codec.sample_fmts ? codec.sample_fmts[0] : AV_SAMPLE_FMT_FLT;
    for (const AVSampleFormat* f = codec.sample_fmts; f && *f != AV_SAMPLE_FMT_NONE; ++f) {
        const AVSampleFormat packed = av_get_packed_sample_fmt(*f);
        if (bits > 16 && packed == AV_SAMPLE_FMT_S32) {
            best = *f;
        }
    }
    return best;
}

bool supportsRate(const AVCodec& codec, int rate) {
    if (codec.id == AV_CODEC_ID_GSM) {
        return rate == 8000;  // GSM 06.10 knows no other; the library would take any
    }
    if (!codec.supported_samplerates) {
        return true;
    }
    for (const int* r = codec.supported_samplerates; *r; ++r) {
        if (*r == rate) {
            return true;
        }
    }
    return false;
}

}  // namespace

Expected<std::unique_ptr<SoundEncoder>> SoundEncoder::open(const SoundEncoderSettings& given) {
    const SoundCodecEntry* entry = soundCodecEntry(given.codec);
    if (!entry) {
        return Failure{FailureKind::notAvailable, "no encoder for this sound codec type"};
    }
    if (given.channels < 1 || given.channels > 64 || given.sampleRate < 1 ||
        given.sampleRate > 768000) {
        return Failure{FailureKind::badArgument, "a sound format out of range"};
    }
    SoundEncoderSettings settings = given;
    const AVCodec* codec = installedEncoder(findSoundCodecName(entry->type));
    Chosen chosen{entry->type, nullptr, entry->id, settings.bitsPerSample, false, false};
    if (entry->pcm) {
        const bool little = given.codec == fourCode("sowt") || given.codec == fourCode("lpcm");
        chosen =
            pcmOf(given.codec, settings.bitsPerSample > 0 ? settings.bitsPerSample : 16, little);
        settings.codec = chosen.type;
        settings.bitsPerSample = chosen.bits;
        codec = avcodec_find_encoder_by_name(chosen.encoder);
    }
    silenceLibrary();
    if (!codec) {
        return Failure{FailureKind::notAvailable, "no encoder for this sound codec type"};
    }
    if (!supportsRate(*codec, settings.sampleRate)) {
        return Failure{FailureKind::unsupported, std::string(codec->name) + " cannot code " +
                                                     std::to_string(settings.sampleRate) + " Hz"};
    }
    CodecContextPointer context(avcodec_alloc_context3(codec));
    if (!context) {
        return Failure{FailureKind::limit, "avcodec_alloc_context3"};
    }
    av_channel_layout_default(&context->ch_layout, settings.channels);
    context->sample_rate = settings.sampleRate;
    context->sample_fmt = chooseSampleFormat(*codec, settings.bitsPerSample);
    context->time_base = {1, settings.sampleRate};
    context->thread_count = 1;
    if (!entry->pcm && entry->id != AV_CODEC_ID_FLAC && entry->id != AV_CODEC_ID_ALAC) {
        context->bit_rate = settings.bytesPerSecond > 0
                                ? settings.bytesPerSecond * 8
                                : usualBits(entry->id, settings.channels, settings.sampleRate);
    }
    if (settings.bitsPerSample > 16 && !entry->pcm) {
        context->bits_per_raw_sample = 24;
    }
    if (settings.layout != StreamLayout::inBand) {
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    // The only encoder of DTS there is counts as an experiment.
    context->strict_std_compliance =
        entry->id == AV_CODEC_ID_DTS ? FF_COMPLIANCE_EXPERIMENTAL : FF_COMPLIANCE_UNOFFICIAL;
    if (const int error = avcodec_open2(context.get(), codec, nullptr); error < 0) {
        Failure failure = nativeFailure(error, std::string("opening encoder ") + codec->name);
        failure.kind = error == AVERROR(ENOMEM) ? FailureKind::limit : FailureKind::unsupported;
        return failure;
    }
    return std::unique_ptr<SoundEncoder>(
        std::make_unique<NativeSoundEncoder>(settings, chosen, entry->pcm, std::move(context)));
}

}  // namespace TWQuickTime::codec
