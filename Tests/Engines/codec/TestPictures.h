// Pictures and sound with known contents, and how far decoded ones are from them.
#pragma once

#include <cmath>
#include <vector>

#include "Engines/codec/PixelConverter.h"
#include "Engines/codec/VideoFrame.h"

namespace TWQuickTime::codec::test {

/// Soft shapes in all colours that move with `phase`; B G R A, opaque.
inline VideoFrame makePicture(int width, int height, double phase) {
    VideoFrame frame = *VideoFrame::allocate(PixelFormat::bgra32(), width, height);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = frame.writableRow(0, y);
        for (int x = 0; x < width; ++x) {
            const double u = double(x) / width, v = double(y) / height;
            row[x * 4 + 0] = static_cast<std::uint8_t>(128 + 90 * std::sin(5 * u + phase));
            row[x * 4 + 1] = static_cast<std::uint8_t>(128 + 90 * std::sin(4 * v - phase));
            row[x * 4 + 2] = static_cast<std::uint8_t>(128 + 90 * std::sin(3 * (u + v) + phase));
            row[x * 4 + 3] = 255;
        }
    }
    return frame;
}

/// Peak signal-to-noise ratio over blue, green and red of two pictures B G R A, in dB.
inline double psnr(const VideoFrame& a, const VideoFrame& b) {
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        const std::uint8_t* p = a.row(0, y);
        const std::uint8_t* q = b.row(0, y);
        for (int x = 0; x < a.width() * 4; ++x) {
            if (x % 4 != 3) {
                const double difference = double(p[x]) - double(q[x]);
                sum += difference * difference;
            }
        }
    }
    const double mean = sum / (3.0 * a.width() * a.height());
    return mean > 0 ? 10 * std::log10(255 * 255 / mean) : 99.0;
}

inline std::vector<float> makeTone(int frames, int channels, double rate) {
    std::vector<float> samples;
    for (int i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c) {
            samples.push_back(
                static_cast<float>(0.4 * std::sin(2 * M_PI * (440.0 + 220.0 * c) * i / rate)));
        }
    }
    return samples;
}

/// Correlation of the first channel of two interleaved runs, b shifted by `shift` frames: 1 same.
inline double correlation(const std::vector<float>& a, const std::vector<float>& b, int channels,
                          std::size_t shift) {
    double ab = 0, aa = 0, bb = 0;
    for (std::size_t i = 0;; ++i) {
        const std::size_t at = i * std::size_t(channels);
        const std::size_t bt = (i + shift) * std::size_t(channels);
        if (at >= a.size() || bt >= b.size()) {
            break;
        }
        ab += double(a[at]) * b[bt];
        aa += double(a[at]) * a[at];
        bb += double(b[bt]) * b[bt];
    }
    return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0;
}

}  // namespace TWQuickTime::codec::test
