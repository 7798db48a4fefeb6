// Scaling 32-bit pixels: this library against libswscale's area average and bicubic filter, and
// enlarging against libyuv's bilinear filter. "dB" is the distance to the exact area average.
#include <benchmark/benchmark.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "Engines/image/Scale.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace {

using namespace TWQuickTime::image;

struct Pixels {
    int width, height;
    std::vector<std::uint8_t> bytes;

    Pixels(int w, int h) : width(w), height(h), bytes(std::size_t(w) * std::size_t(h) * 4 + 64) {}
    PixelView view() { return {bytes.data(), width, height, std::ptrdiff_t{width} * 4}; }
    int rowBytes() const { return width * 4; }
    const std::uint8_t* at(int x, int y) const {
        return &bytes[(std::size_t(y) * std::size_t(width) + std::size_t(x)) * 4];
    }
};

/// Soft shapes with noise on them.
Pixels picture(int width, int height) {
    Pixels pixels(width, height);
    std::mt19937 random(7);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 4; ++c)
                pixels.bytes[(std::size_t(y) * std::size_t(width) + std::size_t(x)) * 4 +
                             std::size_t(c)] =
                    static_cast<std::uint8_t>(
                        100 + 80 * std::sin(x * 0.02 * (c + 1)) * std::cos(y * 0.03) +
                        double(random() % 64));
    return pixels;
}

/// Peak signal-to-noise ratio to the exact area average, in decibels.
double distanceToAverage(const Pixels& source, const Pixels& scaled) {
    const double xStep = double(source.width) / scaled.width;
    const double yStep = double(source.height) / scaled.height;
    double squares = 0;
    for (int y = 0; y < scaled.height; ++y)
        for (int x = 0; x < scaled.width; ++x)
            for (int c = 0; c < 4; ++c) {
                double sum = 0;
                for (int sy = int(y * yStep); sy < std::min<double>(source.height, (y + 1) * yStep);
                     ++sy)
                    for (int sx = int(x * xStep);
                         sx < std::min<double>(source.width, (x + 1) * xStep); ++sx)
                        sum +=
                            (std::min((x + 1) * xStep, sx + 1.0) - std::max(x * xStep, sx + 0.0)) *
                            (std::min((y + 1) * yStep, sy + 1.0) - std::max(y * yStep, sy + 0.0)) *
                            source.at(sx, sy)[c];
                const double difference = sum / (xStep * yStep) - scaled.at(x, y)[c];
                squares += difference * difference;
            }
    return 10 * std::log10(255.0 * 255.0 * scaled.width * scaled.height * 4 / squares);
}

void shrinkWithTWQuickTime(benchmark::State& state) {
    Pixels source = picture(1920, 1080), scaled(720, 480);
    for (auto _ : state)
        if (!scalePixels(source.view(), {0, 0, 1920, 1080}, scaled.view(), {0, 0, 720, 480}))
            state.SkipWithError("not scaled");
    state.counters["dB"] = distanceToAverage(source, scaled);
}
BENCHMARK(shrinkWithTWQuickTime)->Unit(benchmark::kMillisecond);

void shrinkWithLibswscale(benchmark::State& state) {
    Pixels source = picture(1920, 1080), scaled(720, 480);
    SwsContext* context =
        sws_getContext(1920, 1080, AV_PIX_FMT_ARGB, 720, 480, AV_PIX_FMT_ARGB,
                       static_cast<int>(state.range(0)), nullptr, nullptr, nullptr);
    const std::uint8_t* from[4] = {source.bytes.data()};
    std::uint8_t* to[4] = {scaled.bytes.data()};
    const int fromStride[4] = {source.rowBytes()}, toStride[4] = {scaled.rowBytes()};
    for (auto _ : state)
        if (sws_scale(context, from, fromStride, 0, 1080, to, toStride) != 480)
            state.SkipWithError("not scaled");
    sws_freeContext(context);
    state.counters["dB"] = distanceToAverage(source, scaled);
}
BENCHMARK(shrinkWithLibswscale)
    ->Unit(benchmark::kMillisecond)
    ->ArgName("filter")
    ->Arg(SWS_AREA)
    ->Arg(SWS_BICUBIC);

void enlargeWithTWQuickTime(benchmark::State& state) {
    Pixels source = picture(720, 480), scaled(1920, 1080);
    for (auto _ : state)
        if (!scalePixels(source.view(), {0, 0, 720, 480}, scaled.view(), {0, 0, 1920, 1080}))
            state.SkipWithError("not scaled");
}
BENCHMARK(enlargeWithTWQuickTime)->Unit(benchmark::kMillisecond);

void enlargeWithLibyuv(benchmark::State& state) {
    Pixels source = picture(720, 480), scaled(1920, 1080);
    for (auto _ : state)
        if (libyuv::ARGBScale(source.bytes.data(), source.rowBytes(), 720, 480, scaled.bytes.data(),
                              scaled.rowBytes(), 1920, 1080, libyuv::kFilterBilinear) != 0)
            state.SkipWithError("not scaled");
}
BENCHMARK(enlargeWithLibyuv)->Unit(benchmark::kMillisecond);

}  // namespace
