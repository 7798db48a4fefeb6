#include "Engines/codec/Resampler.h"

extern "C" {
#include <libswresample/swresample.h>
}

#include <cmath>

#include "Engines/codec/Private/Native.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

struct Resampler::State {
    SwrContext* context = nullptr;
    SoundFormat from, to;
    ~State() { swr_free(&context); }
};

Resampler::Resampler(std::unique_ptr<State> state) : state_(std::move(state)) {}
Resampler::~Resampler() = default;

Expected<std::unique_ptr<Resampler>> Resampler::make(SoundFormat from, SoundFormat to) {
    const auto sane = [](const SoundFormat& format) {
        return format.channels >= 1 && format.channels <= 64 && format.sampleRate >= 1 &&
               format.sampleRate <= 1e7;
    };
    if (!sane(from) || !sane(to)) {
        return Failure{FailureKind::badArgument, "a sound format out of range"};
    }
    silenceLibrary();
    auto state = std::make_unique<State>();
    state->from = from;
    state->to = to;
    AVChannelLayout in{}, out{};
    av_channel_layout_default(&in, from.channels);
    av_channel_layout_default(&out, to.channels);
    const int made = swr_alloc_set_opts2(
        &state->context, &out, AV_SAMPLE_FMT_FLT, static_cast<int>(std::lround(to.sampleRate)), &in,
        AV_SAMPLE_FMT_FLT, static_cast<int>(std::lround(from.sampleRate)), 0, nullptr);
    if (made < 0) {
        return nativeFailure(made, "swr_alloc_set_opts2");
    }
    av_opt_set_int(state->context, "filter_size", 64, 0);
    av_opt_set_double(state->context, "cutoff", 0.97, 0);
    if (const int error = swr_init(state->context); error < 0) {
        return nativeFailure(error, "swr_init");
    }
    return std::unique_ptr<Resampler>(new Resampler(std::move(state)));
}

Status Resampler::convert(std::span<const float> interleaved, std::vector<float>& appendTo) {
    const auto frames = int(interleaved.size() / std::size_t(state_->from.channels));
    if (state_->from == state_->to) {
        appendTo.insert(appendTo.end(), interleaved.begin(), interleaved.end());
        return {};
    }
    const int room = swr_get_out_samples(state_->context, frames);
    const std::size_t start = appendTo.size();
    appendTo.resize(start + std::size_t(room) * std::size_t(state_->to.channels));
    auto* out = reinterpret_cast<std::uint8_t*>(appendTo.data() + start);
    const auto* in = reinterpret_cast<const std::uint8_t*>(interleaved.data());
    const int got = swr_convert(state_->context, &out, room, frames > 0 ? &in : nullptr, frames);
    if (got < 0) {
        return nativeFailure(got, "swr_convert");
    }
    appendTo.resize(start + std::size_t(got) * std::size_t(state_->to.channels));
    return {};
}

Status Resampler::drain(std::vector<float>& appendTo) {
    if (state_->from == state_->to) {
        return {};
    }
    auto status = convert({}, appendTo);
    if (!status) {
        return status;
    }
    if (const int error = swr_init(state_->context); error < 0) {
        return nativeFailure(error, "swr_init");
    }
    return {};
}

}  // namespace TWQuickTime::codec
