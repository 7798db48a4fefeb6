#include "Engines/codec/SoundDecoder.h"

#include <algorithm>
#include <cstring>

#include "Engines/codec/Private/CodecMap.h"
#include "Engines/codec/Private/DecoderConfiguration.h"
#include "Engines/codec/Private/Native.h"
#include "Engines/codec/Private/SampleTypeConverter.h"
#include "Engines/codec/SpeechFrames.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

class NativeSoundDecoder : public SoundDecoder {
  public:
    NativeSoundDecoder(CodecContextPointer context, std::optional<SpeechCodec> speech)
        : context_(std::move(context)),
          speech_(speech),
          packet_(av_packet_alloc()),
          frame_(av_frame_alloc()) {}

    Status decode(const Packet& packet, SoundBlock& block) override {
        if (packet.bytes.size() > (1u << 28)) {
            return Failure{FailureKind::limit, "a sound packet of more than 256 MiB"};
        }
        return speech_ ? decodeSpeech(packet.bytes, block) : decodeWhole(packet.bytes, block);
    }

    Status drain(SoundBlock& block) override { return feed(nullptr, block); }

    void flush() override { avcodec_flush_buffers(context_.get()); }

    int channels() const override { return context_->ch_layout.nb_channels; }
    double sampleRate() const override { return context_->sample_rate; }

  private:
    Status decodeWhole(Bytes bytes, SoundBlock& block) {
        if (bytes.empty()) {
            return {};
        }
        av_packet_unref(packet_.get());
        if (const int error = av_new_packet(packet_.get(), static_cast<int>(bytes.size()));
            error < 0) {
            return nativeFailure(error, "av_new_packet");
        }
        std::memcpy(packet_->data, bytes.data(), bytes.size());
        return feed(packet_.get(), block);
    }

    /// Frame by frame. One that cannot be decoded is silence, so that the others keep their times.
    Status decodeSpeech(Bytes bytes, SoundBlock& block) {
        const auto perFrame = std::size_t(speech_->samplesPerFrame());
        while (!bytes.empty()) {
            const std::size_t size = std::min(speech_->frameSize(bytes.front()), bytes.size());
            const std::size_t wanted = block.samples.size() + perFrame;
            static_cast<void>(decodeWhole(bytes.first(size), block).ok());
            block.channels = 1;
            block.sampleRate = speech_->sampleRate();
            block.samples.resize(wanted);
            bytes = bytes.subspan(size);
        }
        return {};
    }

    Status feed(AVPacket* packet, SoundBlock& block) {
        int error = avcodec_send_packet(context_.get(), packet);
        if (error < 0 && error != AVERROR_EOF) {
            return nativeFailure(error, "avcodec_send_packet");
        }
        while ((error = avcodec_receive_frame(context_.get(), frame_.get())) >= 0) {
            const Status taken = take(block);
            av_frame_unref(frame_.get());
            if (!taken) {
                return taken;
            }
        }
        if (error != AVERROR(EAGAIN) && error != AVERROR_EOF) {
            return nativeFailure(error, "avcodec_receive_frame");
        }
        return {};
    }

    Status take(SoundBlock& block) {
        const int channels = frame_->ch_layout.nb_channels;
        if (block.channels != channels) {
            // A stream that changes its channels in the middle starts over with the new ones.
            block.channels = channels;
            block.samples.clear();
        }
        block.sampleRate = frame_->sample_rate;
        block.channelMask =
            frame_->ch_layout.order == AV_CHANNEL_ORDER_NATIVE ? frame_->ch_layout.u.mask : 0;
        return converter_.append(*frame_, block.samples);
    }

    CodecContextPointer context_;
    std::optional<SpeechCodec> speech_;
    PacketPointer packet_;
    FramePointer frame_;
    SampleTypeConverter converter_;
};

}  // namespace

Expected<std::unique_ptr<SoundDecoder>> SoundDecoder::open(Bytes record) {
    auto description = readSoundDescription(record);
    if (!description) {
        return description.failure();
    }
    silenceLibrary();
    const DecoderConfiguration configuration = soundConfiguration(*description, record);
    const AVCodec* codec =
        configuration.id == AV_CODEC_ID_NONE ? nullptr : avcodec_find_decoder(configuration.id);
    if (!codec) {
        return Failure{FailureKind::notAvailable, "no decoder for this sound codec type"};
    }
    CodecContextPointer context(avcodec_alloc_context3(codec));
    if (!context) {
        return Failure{FailureKind::limit, "avcodec_alloc_context3"};
    }
    context->codec_tag = nativeTag(description->format);
    if (description->channels > 0 && description->channels <= 64) {
        av_channel_layout_default(&context->ch_layout, description->channels);
    }
    context->sample_rate = static_cast<int>(description->sampleRate);
    const std::optional<SpeechCodec> speech = speechCodec(description->format);
    if (speech) {
        // Whatever the description says; many writers put two channels there.
        av_channel_layout_default(&context->ch_layout, 1);
        context->sample_rate = speech->sampleRate();
    }
    context->bits_per_coded_sample = description->bitsPerSample;
    const SoundPacking packing = soundPacking(*description);
    if (packing.bytesPerPacket > 0 && packing.bytesPerPacket < (1u << 20)) {
        context->block_align = static_cast<int>(packing.bytesPerPacket);
    }
    if (configuration.blockAlign > 0) {
        context->block_align = configuration.blockAlign;
        context->bits_per_coded_sample = configuration.bitsPerCodedSample;
    }
    if (auto status = setExtraData(*context, configuration.extraData); !status) {
        return status.failure();
    }
    if (const int error = avcodec_open2(context.get(), codec, nullptr); error < 0) {
        return nativeFailure(error, std::string("opening decoder ") + codec->name);
    }
    return std::unique_ptr<SoundDecoder>(
        std::make_unique<NativeSoundDecoder>(std::move(context), speech));
}

}  // namespace TWQuickTime::codec
