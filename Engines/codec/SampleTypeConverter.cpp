#include "Engines/codec/Private/SampleTypeConverter.h"

extern "C" {
#include <libswresample/swresample.h>
}

namespace TWQuickTime::codec {

using result::Failure;
using result::FailureKind;
using result::Status;

SampleTypeConverter::~SampleTypeConverter() {
    swr_free(&context_);
}

Status SampleTypeConverter::prepare(AVSampleFormat from, AVSampleFormat to, int channels) {
    if (context_ && from == from_ && to == to_ && channels == channels_) {
        return {};
    }
    swr_free(&context_);
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, channels);
    // Any rate will do where it stays the same.
    constexpr int rate = 48000;
    int error = swr_alloc_set_opts2(&context_, &layout, to, rate, &layout, from, rate, 0, nullptr);
    if (error >= 0) {
        error = swr_init(context_);
    }
    if (error < 0) {
        swr_free(&context_);
        return nativeFailure(error, "swr_init");
    }
    from_ = from;
    to_ = to;
    channels_ = channels;
    return {};
}

Status SampleTypeConverter::append(const AVFrame& frame, std::vector<float>& to) {
    const int channels = frame.ch_layout.nb_channels;
    if (auto status = prepare(AVSampleFormat(frame.format), AV_SAMPLE_FMT_FLT, channels); !status) {
        return status;
    }
    const std::size_t start = to.size();
    to.resize(start + std::size_t(frame.nb_samples) * std::size_t(channels));
    auto* out = reinterpret_cast<std::uint8_t*>(to.data() + start);
    const auto** in = const_cast<const std::uint8_t**>(frame.extended_data);
    const int got = swr_convert(context_, &out, frame.nb_samples, in, frame.nb_samples);
    return got == frame.nb_samples ? Status() : Status(nativeFailure(got, "swr_convert"));
}

Status SampleTypeConverter::fill(AVFrame& frame, std::span<const float> interleaved) {
    const int channels = frame.ch_layout.nb_channels;
    if (auto status = prepare(AV_SAMPLE_FMT_FLT, AVSampleFormat(frame.format), channels); !status) {
        return status;
    }
    const auto* in = reinterpret_cast<const std::uint8_t*>(interleaved.data());
    const int got =
        swr_convert(context_, frame.extended_data, frame.nb_samples, &in, frame.nb_samples);
    return got == frame.nb_samples ? Status() : Status(nativeFailure(got, "swr_convert"));
}

}  // namespace TWQuickTime::codec
