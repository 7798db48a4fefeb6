// Samples of sound in the codec library's types, to and from floating point.
//
// The loops are written so that compilers turn them into vector instructions: no calls, no
// branches, and no stride that is not known.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <type_traits>

namespace TWQuickTime::codec {

template <class Sample>
float floatOfSample(Sample value) {
    if constexpr (std::is_floating_point_v<Sample>) {
        return static_cast<float>(value);
    } else if constexpr (std::is_unsigned_v<Sample>) {
        return static_cast<float>(int(value) - 128) / 128.0f;
    } else {
        return static_cast<float>(value) *
               static_cast<float>(-1.0 / double(std::numeric_limits<Sample>::min()));
    }
}

/// The nearest whole number, halves to the even one; what is not a number gives `lowest`. Adding
/// 1.5·2^23 (2^52) leaves the rounded number in the low bits, where lrint would be a call a sample.
inline std::int32_t roundedWithin(float value, float lowest, float highest) {
    const float above = value > lowest ? value : lowest;
    const float within = above < highest ? above : highest;
    return std::bit_cast<std::int32_t>(within + 12582912.0f) -
           std::bit_cast<std::int32_t>(12582912.0f);
}

inline std::int32_t roundedToInt32(double value) {
    constexpr double lowest = -2147483648.0, highest = 2147483647.0;
    const double above = value > lowest ? value : lowest;
    const double within = above < highest ? above : highest;
    return static_cast<std::int32_t>(std::bit_cast<std::int64_t>(within + 6755399441055744.0));
}

template <class Sample>
Sample sampleOfFloat(float value) {
    if constexpr (std::is_floating_point_v<Sample>) {
        return static_cast<Sample>(value);
    } else if constexpr (std::is_unsigned_v<Sample>) {
        return static_cast<Sample>(roundedWithin(value * 128.0f, -128.0f, 127.0f) + 128);
    } else if constexpr (sizeof(Sample) == 2) {
        return static_cast<Sample>(roundedWithin(value * 32768.0f, -32768.0f, 32767.0f));
    } else {
        return static_cast<Sample>(roundedToInt32(double(value) * 2147483648.0));
    }
}

/// Puts planes together into interleaved floating point.
/// @param planes  one for each channel, `frames` samples in each
template <class Sample>
void interleavePlanes(const std::uint8_t* const* planes, std::size_t channels, std::size_t frames,
                      float* to) {
    if (channels == 2) {
        const auto* left = reinterpret_cast<const Sample*>(planes[0]);
        const auto* right = reinterpret_cast<const Sample*>(planes[1]);
        for (std::size_t i = 0; i < frames; ++i) {
            to[2 * i] = floatOfSample(left[i]);
            to[2 * i + 1] = floatOfSample(right[i]);
        }
        return;
    }
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const auto* from = reinterpret_cast<const Sample*>(planes[channel]);
        for (std::size_t i = 0; i < frames; ++i) {
            to[i * channels + channel] = floatOfSample(from[i]);
        }
    }
}

/// Takes interleaved floating point apart into planes.
template <class Sample>
void separatePlanes(std::span<const float> interleaved, std::size_t channels,
                    std::uint8_t* const* planes) {
    const std::size_t frames = interleaved.size() / channels;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        auto* to = reinterpret_cast<Sample*>(planes[channel]);
        for (std::size_t i = 0; i < frames; ++i) {
            to[i] = sampleOfFloat<Sample>(interleaved[i * channels + channel]);
        }
    }
}

}  // namespace TWQuickTime::codec
